#pragma once

#include "base/Result.h"

#include <QByteArray>

namespace tavrik::backend {

/// What can be said about a recording from its samples.
struct Sound {
    /// Seconds.
    double duration = 0;
    /// Root mean square in dBFS; minus infinity for silence.
    double loudness = 0;
};

/// The bytes of a base64 text; an error when it is none, or empty.
Result<QByteArray> decodeBase64(const QString& text);

/// Measures a WAV file of 16-bit PCM, any rate and number of channels. The error says what is wrong with the
/// file.
Result<Sound> measureWav(QByteArrayView wav);

} // namespace tavrik::backend
