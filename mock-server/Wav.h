#pragma once

#include "base/Result.h"

#include <QByteArray>

namespace tavrik::mock {

/// Length and loudness of a recording.
struct Sound {
    /// Seconds.
    double duration = 0;
    /// Samples per second.
    quint32 rate = 0;
    quint16 channels = 0;
    /// Root mean square in dBFS; minus infinity for silence.
    double loudness = 0;
};

/// Measures a WAV file of 16-bit PCM, any rate and number of channels. The error says what is wrong with the
/// file.
Result<Sound> measureWav(QByteArrayView wav);

/// The same of a file as base64 text.
Result<Sound> measureEncodedWav(const QString& base64);

} // namespace tavrik::mock
