#pragma once

#include <QByteArray>

class QString;

namespace tavrik {

/// The JSON that asks the backend to translate a recording.
QByteArray translateBody(const QByteArray& audio, const QString& language);

/// The JSON that asks a model to translate a WAV recording, prompt included.
QByteArray chatBody(const QByteArray& audio, const QString& language, const QString& model);

} // namespace tavrik
