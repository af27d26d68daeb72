#pragma once

#include <QString>

namespace tavrik::backend {

struct Sound;

/// What was received, in one sentence that nobody could take for a translation.
QString offlineAnswer(const Sound& sound, const QString& language);

} // namespace tavrik::backend
