#pragma once

#include <QString>

#include <functional>

namespace tavrik {

/// The panel that accompanies a recording. Main thread only.
class AbstractRecordingHUD {
public:
    AbstractRecordingHUD() = default;
    AbstractRecordingHUD(const AbstractRecordingHUD&) = delete;
    AbstractRecordingHUD& operator=(const AbstractRecordingHUD&) = delete;
    virtual ~AbstractRecordingHUD() = default;

    /// What the user must know to end the next recordings, in two or three words; empty if nothing.
    virtual void setHint(const QString& hint) = 0;

    /// Shows the recording look with an empty meter and samples `levelProvider` (0 to 1) every 0.05 s. The
    /// two callbacks are run on the main queue when their buttons are pressed.
    virtual void show(std::function<float()> levelProvider, std::function<void()> onCancel,
                      std::function<void()> onConfirm) = 0;

    /// Stops sampling and switches to the processing look.
    virtual void setProcessing() = 0;

    /// Stops sampling and takes the panel off the screen.
    virtual void hide() = 0;

    /// Shows nothing but the words, for a few seconds, if the panel has been shown before.
    virtual void showNote(const QString& note) = 0;
};

} // namespace tavrik
