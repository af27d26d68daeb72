#pragma once

#include "storage/Transcription.h"

#include <QList>

class QTimeZone;

namespace tavrik {

/// How many different calendar days of the time zone the records fall on.
qint64 distinctDays(const QList<Transcription>& records, const QTimeZone& zone);

} // namespace tavrik
