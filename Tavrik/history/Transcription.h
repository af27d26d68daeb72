#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QUuid>

namespace tavrik {

/// One successful dictation.
struct Transcription {
    QUuid id;
    QDateTime date;
    /// UTF-8, as it is kept on disk: a history of any size is written and searched without conversion.
    QByteArray text;
    /// Seconds.
    double duration = 0;

    bool operator==(const Transcription&) const = default;
};

} // namespace tavrik

Q_DECLARE_TYPEINFO(tavrik::Transcription, Q_RELOCATABLE_TYPE);
