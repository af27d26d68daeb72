#include "app/AppDelegate.h"

#include "app/HotKeyRegistrar.h"
#include "base/MainQueue.h"
#include "capture/AbstractPaster.h"
#include "capture/AbstractRecordingHUD.h"
#include "history/HistoryStore.h"
#include "platform/Alerts.h"
#include "platform/SoundPlayer.h"
#include "platform/StatusItem.h"
#include "preferences/Settings.h"
#include "translation/AbstractTranslator.h"

#include <QFile>
#include <QPointer>

#include <algorithm>
#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tavrik {

namespace {

/// A shorter take is a slip of the finger.
constexpr double minimumDuration = 0.4; // seconds

/// Whoever holds the key that long is speaking.
constexpr double certainHold = 1; // seconds by the clock

/// The level that the meter shows as silence.
constexpr float quietestPower = -50; // dBFS

} // namespace

/// A take's audio: gone when the last who needs it lets go, whether the dictation was finished or given up.
struct AppDelegate::AudioFile {
    explicit AudioFile(const AbstractRecorder::Take& take) : path(take.file), lock(take.lock) {}
    AudioFile(const AudioFile&) = delete;
    AudioFile& operator=(const AudioFile&) = delete;
    ~AudioFile() { remove(); }

    void remove() {
        if (!path.isEmpty())
            QFile::remove(std::exchange(path, {}));
        lock.reset();
    }

    QString path;
    std::shared_ptr<const void> lock;
};

AppDelegate::AppDelegate(Dependencies dependencies, QObject* parent)
    : QObject(parent), m_dependencies(std::move(dependencies)) {
    m_prepareAgain.setInterval(30s);
    connect(&m_prepareAgain, &QTimer::timeout, this, [this] { m_dependencies.translator.prepare(); });
}

AppDelegate::~AppDelegate() {
    leave();
}

void AppDelegate::leave() {
    m_dependencies.hotKey.stop();
    cancelRecording();
}

void AppDelegate::startRecording(bool endsOnSecondPress) {
    if (m_state != State::idle)
        return;
    if (const auto started = m_dependencies.recorder.start(); !started) {
        showError(QStringLiteral("Could not start recording: ") + started.error().description);
        return;
    }
    setState(State::recording);
    m_dependencies.hud.setHint(endsOnSecondPress ? u"Press again to finish"_s : QString());
    const QPointer<AppDelegate> self(this);
    m_dependencies.hud.show([self] { return self ? self->level() : 0; },
                            [self] {
                                if (self)
                                    self->cancelRecording();
                            },
                            [self] {
                                if (self)
                                    self->stopAndTranslate();
                            });
    if (m_dependencies.settings.soundsEnabled())
        m_dependencies.sounds.play(Sound::pop);

    // The user speaks for a while: time to make ready for what follows the release.
    m_dependencies.translator.prepare();
    m_prepareAgain.start();
    m_dependencies.history();
}

void AppDelegate::stopAndTranslate(const QString& interruption) {
    if (m_state != State::recording)
        return;
    const auto take = m_dependencies.recorder.stop();
    if (!take)
        return;
    const auto audio = std::make_shared<AudioFile>(*take);
    const auto reason = take->interruption.isEmpty() ? interruption : take->interruption;
    const auto note = reason.isEmpty() ? QString() : u"Your last recording ended early: "_s + reason;
    const bool isTooShort = take->duration <= minimumDuration;
    if (isTooShort || take->isSilent) {
        audio->remove();
        setState(State::idle);
        if (!isTooShort)
            setTakeNote(u"Your microphone brought only silence. It may be muted."_s);
        else if (take->elapsed >= certainHold)
            setTakeNote(note.isEmpty() ? u"Your microphone brought no sound. Try again."_s : note);
        return;
    }
    setState(State::processing);
    m_dependencies.translator.translate(
        take->file,
        [self = QPointer<AppDelegate>(this), audio, duration = take->duration, note](Result<QString> result) {
            audio->remove();
            if (self)
                self->finish(std::move(result), duration, note);
        });
}

void AppDelegate::cancelRecording() {
    if (m_state != State::recording)
        return;
    if (const auto take = m_dependencies.recorder.stop())
        QFile::remove(take->file);
    setState(State::idle);
}

void AppDelegate::finish(Result<QString> result, double duration, const QString& takeNote) {
    setState(State::idle);
    if (result && result->isEmpty())
        result = std::unexpected(Error{u"The model returned empty text — try speaking a bit longer."_s});
    if (!result) {
        setTakeNote(takeNote);
        return showError(result.error().description);
    }
    m_dependencies.paster.paste(*result,
                                [self = QPointer<AppDelegate>(this), takeNote](const Result<void>& outcome) {
                                    if (!self)
                                        return;
                                    self->m_pasteNote = outcome ? QString() : outcome.error().description;
                                    self->setTakeNote(takeNote);
                                    if (!takeNote.isEmpty() && self->m_state == State::idle)
                                        self->m_dependencies.hud.showNote(u"The recording ended early"_s);
                                });
    m_dependencies.history().insertFirst(
        {QUuid::createUuid(), toTimestamp(QDateTime::currentDateTimeUtc()), result->toUtf8(), duration});
    if (m_dependencies.settings.soundsEnabled())
        m_dependencies.sounds.play(Sound::glass);
}

void AppDelegate::setTakeNote(const QString& note) {
    m_takeNote = note;
    updateNote();
}

float AppDelegate::level() const {
    const auto power = m_dependencies.recorder.averagePower();
    if (!power)
        return 0;
    const float level = std::min((*power - quietestPower) / -quietestPower, 1.0F);
    // Not std::max, which would keep a level that is not a number.
    return level >= 0 ? level : 0;
}

void AppDelegate::showError(const QString& message) {
    if (m_dependencies.settings.soundsEnabled())
        m_dependencies.sounds.play(Sound::basso);
    m_dependencies.alerts.show({.messageText = QStringLiteral("Tavrik"),
                                .informativeText = message,
                                .style = Alert::Style::warning});
}

void AppDelegate::setState(State state) {
    m_state = state;
    m_prepareAgain.stop();
    m_dependencies.busyChanged(state != State::idle);
    updateIcon();
    switch (state) {
    case State::idle:
        m_dependencies.hud.hide();
        m_dependencies.hotKey.setRecording(false);
        break;
    case State::processing:
        m_dependencies.hud.setProcessing();
        break;
    case State::recording:
        m_dependencies.hotKey.setRecording(true);
        break; // startRecording shows the panel, since it alone knows the callbacks.
    }
}

void AppDelegate::updateIcon() {
    switch (m_state) {
    case State::idle:
        return m_dependencies.statusItem.setImage(QStringLiteral("mic"), QStringLiteral("Tavrik idle"));
    case State::recording:
        return m_dependencies.statusItem.setImage(QStringLiteral("mic.fill"),
                                                  QStringLiteral("Tavrik recording"));
    case State::processing:
        return m_dependencies.statusItem.setImage(QStringLiteral("hourglass"),
                                                  QStringLiteral("Tavrik processing"));
    }
}

} // namespace tavrik
