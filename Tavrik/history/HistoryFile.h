#pragma once

#include "history/Transcription.h"

#include <QByteArrayView>
#include <QList>

#include <functional>
#include <optional>

// The history's file format: a JSON array with one object per record, in list order.
namespace tavrik {

/// The records in the order of the document; nothing if any of it is not as it must be. Members that the
/// format does not know are passed over; of a member that comes twice the last counts.
std::optional<QList<Transcription>> decodeHistory(QByteArray json);

/// Calls `sink` with the pieces of the document, in order. Fractions of a second are dropped; what the format
/// cannot express is brought to the nearest it can (years 0 to 9999, a duration that is a number).
void encodeHistory(const QList<Transcription>& records, const std::function<void(QByteArrayView)>& sink);

} // namespace tavrik
