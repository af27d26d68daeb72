#pragma once

#include "base/Result.h"

#include <QByteArray>

namespace tavrik {

/// Which of Qt's platforms the program runs on: X wherever a server answers, whatever the environment says,
/// since panel, tray and focus are the same there on every desktop; else Wayland. A platform without a
/// display that the environment names ("offscreen", "minimal") is kept. An error if there is none.
/// `xServerAnswers` tells whether there is a server behind DISPLAY.
Result<QByteArray> chooseQtPlatform(bool (*xServerAnswers)());

} // namespace tavrik
