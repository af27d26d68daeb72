#pragma once

#include "history/Transcription.h"

#include <QByteArray>
#include <QList>

#include <optional>

namespace tavrik {

/// Reads a history file: a JSON array with one object per record. The records come in the document's order;
/// nothing if any of it is malformed. Unknown members are ignored; of a repeated member the last counts.
std::optional<QList<Transcription>> decodeHistory(QByteArray json);

} // namespace tavrik
