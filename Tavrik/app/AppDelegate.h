#pragma once

#include "capture/AbstractHotKeyOwner.h"
#include "capture/AbstractRecorder.h"
#include "capture/HotKey.h"

#include <QObject>

#include <functional>
#include <memory>

namespace tavrik {

class AbstractPaster;
class AbstractRecordingHUD;
class AbstractTranslator;
class Account;
class Alerts;
class Appearance;
class HistoryStore;
class HotKeyBackend;
class MainQueue;
class Microphone;
class PasteKeys;
class PreferenceStore;
class Settings;
class SoundPlayer;
class StatusItem;

/// The program itself: turns a press of the hot key into a recording, its release into a translation, and the
/// result into pasted text and a history record. Owns the launch sequence, the menu and the hot key. Main
/// thread.
class AppDelegate : public QObject, public AbstractHotKeyOwner {
    Q_OBJECT

public:
    /// What the program is made of. Everything outlives the AppDelegate.
    struct Parts {
        MainQueue& queue;
        PreferenceStore& preferences;
        Settings& settings;
        Account& account;
        AbstractRecorder& recorder;
        AbstractRecordingHUD& hud;
        AbstractTranslator& translator;
        AbstractPaster& paster;
        /// Opens the history on its first call: not needed until somebody dictates or looks.
        std::function<HistoryStore&()> history;

        Alerts& alerts;
        Appearance& appearance;
        HotKeyBackend& hotKeys;
        Microphone& microphone;
        PasteKeys& pasteKeys;
        SoundPlayer& sounds;
        StatusItem& statusItem;

        /// Chosen from the menu. An item without one is disabled.
        std::function<void()> openMainWindow;
        std::function<void()> checkForUpdates;
        std::function<void()> quit;
    };

    explicit AppDelegate(Parts parts, QObject* parent = nullptr);

    /// A recording or translation in progress is given up and its audio deleted.
    ~AppDelegate() override;

    /// The launch sequence; once.
    void applicationDidFinishLaunching();

    /// The user has opened the program again while it runs.
    void applicationShouldHandleReopen();

    void startRecording();
    void stopAndTranslate();
    void cancelRecording();

    /// Drops the hot key and registers the one the preferences name.
    void registerHotKey();

    /// Builds the status item's menu anew.
    void buildMenu();

    /// Not during a recording: the key that started it is still down, and its release must arrive.
    void releaseHotKey() override;

    /// Registers what the preferences name now, after a recording if there is one, and rebuilds the menu.
    void hotKeyChanged() override;

    HotKeyBackend::Status hotKeyStatus() const override;

private:
    enum class State { idle, recording, processing };

    struct AudioFile;

    void setState(State state);
    void updateIcon();
    void showError(const QString& message);
    void preferencesChanged();
    void openWindowOnFirstRun();
    float level() const;
    void finish(Result<QString> result, double duration);

    Parts m_parts;
    /// Null before the launch, and while it is released.
    std::unique_ptr<HotKey> m_hotKey;
    KeyCombination m_combination;
    QString m_hotKeyDisplay;
    State m_state = State::idle;
    bool m_hotKeyIsStale = false;
};

} // namespace tavrik
