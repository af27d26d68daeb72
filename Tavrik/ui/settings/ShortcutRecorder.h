#pragma once

#include <QObject>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

class QKeyEvent;
class QWindow;

namespace tavrik {

class AbstractHotKeyOwner;
class KeyReader;
class PreferenceStore;
class Settings;

/// Records the hot key from the keyboard. While it does, no key reaches anything else: neither a control of
/// this program, nor the program that would otherwise have grabbed it. Main thread only.
class ShortcutRecorder : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Views are given it.")
    Q_PROPERTY(bool recording READ isRecording NOTIFY changed)
    Q_PROPERTY(QString display READ display NOTIFY changed)

public:
    struct Dependencies {
        PreferenceStore& preferences;
        const Settings& settings;
        const KeyReader& keys;
        AbstractHotKeyOwner& hotKey;
    };

    explicit ShortcutRecorder(const Dependencies& dependencies, QObject* parent = nullptr);
    ~ShortcutRecorder() override;

    bool isRecording() const { return m_phase == Phase::recording; }
    /// The shortcut in the preferences, as shown to the user.
    QString display() const;

    /// Begins, or gives up.
    Q_INVOKABLE void toggle();
    /// Gives up; the shortcut stays what it was.
    Q_INVOKABLE void cancel();

    /// What is shown may be out of date: the preferences can change elsewhere.
    Q_INVOKABLE void refresh() { Q_EMIT changed(); }

    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    void changed();

private:
    /// After the last key has gone down it is still ours until it comes up: it repeats, and would begin a
    /// dictation with the new shortcut, or close the sheet.
    enum class Phase { idle, recording, awaitingRelease };

    void begin();
    void keyPressed(const QKeyEvent& event);
    void awaitRelease(const QKeyEvent& event);
    void end();

    const Dependencies m_dependencies;
    Phase m_phase = Phase::idle;
    QPointer<QWindow> m_window;
    quint32 m_lastKey = 0;
    /// Whether this recording has stored a shortcut.
    bool m_isChosen = false;
};

} // namespace tavrik
