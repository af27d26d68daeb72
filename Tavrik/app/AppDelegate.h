#pragma once

#include "capture/AbstractRecorder.h"
#include "platform/PlatformTexts.h"

#include <QObject>
#include <QTimer>

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
class HotKeyRegistrar;
class MainQueue;
class Microphone;
class PasteKeys;
class PreferenceStore;
class Service;
class Settings;
class SoundPlayer;
class StatusItem;

/// The program itself: turns a press of the hot key into a recording, its release into a translation, and the
/// result into pasted text and a history record. Owns the launch sequence and the menu. Main thread.
class AppDelegate : public QObject {
    Q_OBJECT

public:
    /// Everything outlives the AppDelegate.
    struct Dependencies {
        MainQueue& queue;
        PreferenceStore& preferences;
        Settings& settings;
        Account& account;
        HotKeyRegistrar& hotKey;
        AbstractRecorder& recorder;
        AbstractRecordingHUD& hud;
        /// Whether the panel and the window can be loaded.
        const Service& views;
        AbstractTranslator& translator;
        AbstractPaster& paster;
        /// Opens the history on its first call: not needed until somebody dictates or looks.
        std::function<HistoryStore&()> history;

        Alerts& alerts;
        Appearance& appearance;
        Microphone& microphone;
        PasteKeys& pasteKeys;
        SoundPlayer& sounds;
        StatusItem& statusItem;
        PlatformTexts texts;

        /// Shows the window, with the activation token that the user's wish came with, if it did with one.
        std::function<void(const QByteArray& activationToken)> openMainWindow;
        /// Told when a dictation begins and when it is over.
        std::function<void(bool busy)> busyChanged;
        /// Chosen from the menu. Without one the item is disabled.
        std::function<void()> checkForUpdates;
        std::function<void()> quit;
    };

    explicit AppDelegate(Dependencies dependencies, QObject* parent = nullptr);

    /// A recording or translation in progress is given up and its audio deleted.
    ~AppDelegate() override;

    /// The launch sequence; once.
    void applicationDidFinishLaunching();

    /// The user has opened the program again while it runs. The token may be empty.
    void applicationShouldHandleReopen(const QByteArray& activationToken);

    bool isRecording() const { return m_state == State::recording; }

    /// Gives up the hot key, and a recording that runs; nothing more is dictated.
    void leave();

    /// `endsOnSecondPress`: no release is to be expected.
    void startRecording(bool endsOnSecondPress = false);
    /// `interruption`: why the hold could not be followed to its end; empty if it was.
    void stopAndTranslate(const QString& interruption = {});
    void cancelRecording();

    /// Builds the status item's menu anew.
    void buildMenu();

private:
    enum class State { idle, recording, processing };

    struct AudioFile;

    void setState(State state);
    void updateIcon();
    void showError(const QString& message);
    void preferencesChanged();
    void hotKeyStatusChanged();
    void updateNote();
    void openWindowOnFirstRun();
    float level() const;
    void finish(Result<QString> result, double duration, const QString& takeNote);
    void setTakeNote(const QString& note);

    Dependencies m_dependencies;
    State m_state = State::idle;
    /// Runs while recording: what was made ready at its beginning may not last until its end.
    QTimer m_prepareAgain;
    /// Why the last dictation was left on the clipboard; empty if it was not.
    QString m_pasteNote;
    /// What was wrong with the latest recording; empty if nothing was.
    QString m_takeNote;
};

} // namespace tavrik
