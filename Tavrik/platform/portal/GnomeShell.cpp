#include "platform/portal/GnomeShell.h"

#include "platform/portal/Gsettings.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

/// The accelerator in one spelling: modifiers have synonyms and no order.
QString normalized(QString accelerator) {
    constexpr std::array<std::pair<QLatin1StringView, QLatin1StringView>, 4> synonyms{{
        {"<primary>"_L1, "<control>"_L1},
        {"<ctrl>"_L1, "<control>"_L1},
        {"<mod1>"_L1, "<alt>"_L1},
        {"<mod4>"_L1, "<super>"_L1},
    }};
    accelerator = accelerator.toLower();
    for (const auto& [synonym, usual] : synonyms)
        accelerator.replace(synonym, usual);
    QString result;
    for (const auto modifier : {"<control>"_L1, "<shift>"_L1, "<alt>"_L1, "<super>"_L1}) {
        if (accelerator.contains(modifier))
            result += modifier;
        accelerator.remove(modifier);
    }
    return result + accelerator;
}

/// In lines of the form "SCHEMA KEY ['<Alt>space', …]".
QString findBinding(QStringView lines, const QString& trigger) {
    const auto wanted = normalized(trigger);
    for (const auto line : lines.split(u'\n')) {
        const auto words = line.split(u' ');
        for (const auto word : words.sliced(std::min<qsizetype>(2, words.size()))) {
            const auto begin = word.indexOf(u'\'');
            const auto end = word.lastIndexOf(u'\'');
            if (begin < end && normalized(word.sliced(begin + 1, end - begin - 1).toString()) == wanted)
                return words.at(1).toString();
        }
    }
    return {};
}

void searchSchemas(QStringList schemas, const QString& trigger, QObject& owner,
                   std::function<void(const QString&)> found) {
    const auto schema = schemas.takeFirst();
    runGsettings({u"list-recursively"_s, schema}, owner,
                 [schemas, trigger, &owner, found = std::move(found)](const std::optional<QString>& output) {
                     const auto name = findBinding(output.value_or(QString()), trigger);
                     if (!name.isEmpty() || schemas.isEmpty())
                         found(name);
                     else
                         searchSchemas(schemas, trigger, owner, found);
                 });
}

} // namespace

void askGnomeShell(const QDBusConnection& bus, QObject& owner, std::function<void(bool)> answered) {
    constexpr int bound = 5000;
    auto call = QDBusMessage::createMethodCall(u"org.gnome.Shell"_s, u"/org/gnome/Shell"_s,
                                               u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    call.setArguments({u"org.gnome.Shell"_s, u"Mode"_s});
    call.setAutoStartService(false);
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, bound), &owner);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [watcher, answered = std::move(answered)] {
                         watcher->deleteLater();
                         const auto error = watcher->error().type();
                         answered(error != QDBusError::ServiceUnknown && error != QDBusError::Disconnected &&
                                  watcher->error().name() != "org.freedesktop.DBus.Error.NameHasNoOwner"_L1);
                     });
}

void askGnomeForShortcut(const QString& id, QObject& owner,
                         std::function<void(std::optional<bool>)> answered) {
    runGsettings({u"get"_s,
                  u"org.gnome.settings-daemon.global-shortcuts.application:"
                  "/org/gnome/settings-daemon/global-shortcuts/io.nordvex.tavrik/"_s,
                  u"shortcuts"_s},
                 owner, [id, answered = std::move(answered)](const std::optional<QString>& output) {
                     answered(output ? std::optional(output->contains(u"('"_s + id + u'\'')) : std::nullopt);
                 });
}

void findGnomeKeyBinding(const QString& trigger, QObject& owner, std::function<void(const QString&)> found) {
    searchSchemas({u"org.gnome.desktop.wm.keybindings"_s, u"org.gnome.shell.keybindings"_s,
                   u"org.gnome.mutter.keybindings"_s},
                  trigger, owner, std::move(found));
}

} // namespace tavrik
