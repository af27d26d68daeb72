#pragma once

// Stand-ins for the desktop's services, entered through the production interfaces. Each writes what was asked
// of it into one journal, so that a test reads the order of everything that happened.

#include "platform/Appearance.h"
#include "platform/HotKeyBackend.h"
#include "platform/Microphone.h"
#include "platform/PasteKeys.h"
#include "platform/PreferenceStore.h"
#include "platform/SoundPlayer.h"
#include "platform/StatusItem.h"

#include <QMap>

namespace tavrik::fake {

using namespace Qt::StringLiterals;

using Journal = QStringList;

class Preferences : public PreferenceStore {
public:
    QVariant value(const QString& key) const override { return values.value(key); }
    bool setValue(const QString& key, const QVariant& value) override {
        values[key] = value;
        return true;
    }
    bool remove(const QString& key) override {
        values.remove(key);
        return true;
    }
    QStringList keys() const override { return values.keys(); }
    void watch(std::function<void()> callback) override { changed = std::move(callback); }

    QMap<QString, QVariant> values;
    std::function<void()> changed;
};

/// A service whose status the test sets.
template<class Interface>
class Set : public Interface {
public:
    ServiceStatus status() const override { return state; }
    void set(const ServiceStatus& to) {
        state = to;
        Q_EMIT this->statusChanged();
    }
    ServiceStatus state{u"fake"_s, true};
};

class Sounds : public Set<SoundPlayer> {
public:
    explicit Sounds(Journal& log) : journal(log) {}
    void play(Sound sound) override {
        journal << (sound == Sound::pop ? "Pop" : sound == Sound::glass ? "Glass" : "Basso");
    }
    Journal& journal;
};

class Status : public Set<StatusItem> {
public:
    explicit Status(Journal& log) : journal(log) {}
    void setImage(const QString& symbol, const QString& text) override { journal << symbol + u' ' + text; }
    void setNote(const QString& text) override {
        if (std::exchange(note, text) != text)
            journal << u"note [%1]"_s.arg(text);
    }
    void setMenu(const QList<MenuItem>& menu) override { items = menu; }
    Journal& journal;
    QString note;
    QList<MenuItem> items;
};

class HotKeys : public Set<HotKeyBackend> {
public:
    explicit HotKeys(Journal& log) : journal(log) {}
    std::unique_ptr<Registration> registerHotKey(KeyCombination combination, PermissionRequest,
                                                 Handlers wanted) override {
        journal << u"register %1 %2"_s.arg(combination.keyCode).arg(combination.modifiers);
        handlers = std::move(wanted);
        handlers.settled();
        return std::make_unique<Held>(*this);
    }

    struct Held : Set<Registration> {
        explicit Held(HotKeys& keys) : owner(keys) {
            state = owner.state;
            owner.held = this;
        }
        ~Held() override { owner.journal << u"unregister"_s; }
        HotKeys& owner;
    };

    Journal& journal;
    Handlers handlers;
    /// The last registration.
    Held* held = nullptr;
};

class SilentMicrophone : public Set<Microphone> {
public:
    void requestAccess() override { asked = true; }
    Result<std::unique_ptr<Capture>> start(Sink) override { return std::unexpected(Error{u"silent"_s}); }
    bool asked = false;
};

class Keys : public Set<PasteKeys> {
public:
    void requestPermission(PermissionRequest request, std::function<void()> answered) override {
        asked = request;
        answered();
    }
    void sendPaste(Completion<void>) override {}
    std::optional<PermissionRequest> asked;
};

class AppearanceLog : public Appearance {
public:
    void apply(AppearanceChoice choice) override { applied = choice; }
    std::optional<AppearanceChoice> applied;
};

} // namespace tavrik::fake
