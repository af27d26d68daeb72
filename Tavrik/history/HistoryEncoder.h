#pragma once

#include "history/Transcription.h"

#include <QByteArrayView>
#include <QList>

#include <functional>

namespace tavrik {

/// Calls `write` with the pieces of the history file for these records, in order. Fractions of a second are
/// dropped; dates are clamped to the years 1 to 9999, and a duration that is not finite becomes 0.
void encodeHistory(const QList<Transcription>& records, const std::function<void(QByteArrayView)>& write);

} // namespace tavrik
