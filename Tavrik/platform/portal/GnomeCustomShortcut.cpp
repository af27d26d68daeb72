#include "platform/portal/GnomeCustomShortcut.h"

#include "platform/linux/KeyBindingLines.h"
#include "platform/linux/KeySymbols.h"
#include "platform/portal/Gsettings.h"
#include "platform/portal/ShortcutConflict.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>

#include <array>
#include <utility>

namespace tavrik {

using namespace Qt::StringLiterals;

namespace {

const auto daemonName = u"org.gnome.SettingsDaemon.MediaKeys"_s;
const auto listSchema = u"org.gnome.settings-daemon.plugins.media-keys"_s;
const auto listKey = u"custom-keybindings"_s;
const auto ourPath = u"/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/tavrik/"_s;
const auto ourSchema = u"org.gnome.settings-daemon.plugins.media-keys.custom-keybinding:"_s + ourPath;

const auto canBeSet =
    u"This desktop gives programs no shortcut to hold, but can run Tavrik at one: the first press begins a "
    "dictation, the second ends it."_s;

/// As these settings spell a combination ("<Alt>space").
QString accelerator(KeyCombination combination) {
    constexpr std::array<std::pair<quint32, QLatin1StringView>, 4> names{
        {{KeyCombination::control, "<Control>"_L1},
         {KeyCombination::shift, "<Shift>"_L1},
         {KeyCombination::option, "<Alt>"_L1},
         {KeyCombination::command, "<Super>"_L1}}};
    QString text;
    for (const auto& [bit, name] : names)
        if (combination.modifiers & bit)
            text += name;
    return text + keySymbolName(combination.keyCode);
}

/// A text as gsettings reads and prints it.
QString quoted(QString text) {
    return u'\'' + text.replace(u'\\', u"\\\\"_s).replace(u'\'', u"\\'"_s) + u'\'';
}

/// The list of paths with ours added: "@as []" or "['/one/', '/two/']".
QString withOurs(const QString& list) {
    const auto end = list.lastIndexOf(u']');
    const auto begin = list.indexOf(u'[') + 1;
    const auto others = list.sliced(begin, end - begin).trimmed();
    return u'[' + (others.isEmpty() ? QString() : others + u", "_s) + quoted(ourPath) + u']';
}

class CustomShortcut final : public HotKeyBackend::Registration {
public:
    CustomShortcut(QDBusConnection bus, KeyCombination combination, bool isWished,
                   std::unique_ptr<Registration> elsewhere)
        : m_bus(std::move(bus)), m_combination(combination), m_isWished(isWished),
          m_elsewhere(std::move(elsewhere)) {
        connect(m_elsewhere.get(), &Service::statusChanged, this, &Service::statusChanged);
        connect(&m_daemon, &QDBusServiceWatcher::serviceRegistered, this, &CustomShortcut::readList);
        auto* watcher =
            new QDBusPendingCallWatcher(m_bus.interface()->asyncCall(u"NameHasOwner"_s, daemonName), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
            watcher->deleteLater();
            if (const QDBusPendingReply<bool> reply(*watcher); reply.isValid() && reply.value())
                readList();
        });
    }

    ServiceStatus status() const override { return m_status ? *m_status : m_elsewhere->status(); }
    KeyBindings bindings() const override { return m_status ? KeyBindings() : m_elsewhere->bindings(); }
    bool endsOnSecondPress() const override { return m_status.has_value(); }

private:
    void readList() {
        runGsettings({u"get"_s, listSchema, listKey}, *this, [this](const std::optional<QString>& list) {
            if (!list)
                return;
            m_list = list->trimmed();
            if (m_isWished)
                return write();
            if (!m_list.contains(quoted(ourPath)))
                return setStatus(false, {});
            runGsettings({u"get"_s, ourSchema, u"binding"_s}, *this,
                         [this](const std::optional<QString>& binding) {
                             if (binding && binding->trimmed() == quoted(accelerator(m_combination)))
                                 lookForConflict();
                             else
                                 setStatus(false, {});
                         });
        });
    }

    /// The entry first, since the daemon reads it as soon as it is in the list.
    void write() {
        const auto command = shellCommand(QCoreApplication::applicationFilePath()) + u" toggle"_s;
        m_writes = {{ourSchema, u"name"_s, quoted(u"Tavrik"_s)},
                    {ourSchema, u"command"_s, quoted(command)},
                    {ourSchema, u"binding"_s, quoted(accelerator(m_combination))}};
        if (!m_list.contains(quoted(ourPath)))
            m_writes.append({listSchema, listKey, withOurs(m_list)});
        writeNext();
    }

    void writeNext() {
        if (m_writes.isEmpty())
            return lookForConflict();
        runGsettings(QStringList{u"set"_s} + m_writes.takeFirst(), *this,
                     [this](const std::optional<QString>& done) {
                         if (done)
                             writeNext();
                         else
                             setStatus(false, u"GNOME did not take the shortcut."_s);
                     });
    }

    void lookForConflict() {
        findShortcutConflict(
            m_bus, {.id = u"tavrik"_s, .trigger = accelerator(m_combination), .combination = m_combination},
            *this, [this](const QString& conflict) { setStatus(true, conflict); });
    }

    /// `reason` is what went wrong, or empty.
    void setStatus(bool isSet, const QString& reason) {
        if (!isSet)
            m_status = {u"commands"_s, true, reason.isEmpty() ? canBeSet : reason, u"Set Shortcut"_s};
        else if (reason.isEmpty())
            m_status = {u"GNOME custom shortcut"_s, true,
                        u"The first press begins a dictation, the second ends it."_s};
        else
            m_status = {u"GNOME custom shortcut"_s, false, reason};
        Q_EMIT statusChanged();
    }

    const QDBusConnection m_bus;
    const KeyCombination m_combination;
    const bool m_isWished;
    const std::unique_ptr<Registration> m_elsewhere;
    QDBusServiceWatcher m_daemon{daemonName, m_bus, QDBusServiceWatcher::WatchForRegistration};
    QString m_list;
    /// The arguments of what is still to be set.
    QList<QStringList> m_writes;
    /// Nothing where the daemon is not GNOME's, or has not been found yet.
    std::optional<ServiceStatus> m_status;
};

} // namespace

GnomeCustomShortcut::GnomeCustomShortcut(QDBusConnection bus, std::unique_ptr<HotKeyBackend> elsewhere)
    : m_bus(std::move(bus)), m_elsewhere(std::move(elsewhere)) {
    connect(m_elsewhere.get(), &Service::statusChanged, this, &Service::statusChanged);
}

ServiceStatus GnomeCustomShortcut::status() const {
    return m_elsewhere->status();
}

std::unique_ptr<HotKeyBackend::Registration> GnomeCustomShortcut::registerHotKey(KeyCombination combination,
                                                                                 PermissionRequest request,
                                                                                 Handlers handlers) {
    return std::make_unique<CustomShortcut>(
        m_bus, combination, request == PermissionRequest::byUser,
        m_elsewhere->registerHotKey(combination, request, std::move(handlers)));
}

} // namespace tavrik
