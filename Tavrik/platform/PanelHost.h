#pragma once

#include "platform/Service.h"

class QRect;
class QRegion;
class QWindow;

namespace tavrik {

/// Windows that float above all others and never take the keyboard focus. Main thread only.
class PanelHost : public Service {
public:
    /// Makes a window that was never shown such a panel: on every desktop, beside full-screen windows, absent
    /// from task bars.
    virtual void adopt(QWindow& window) = 0;

    /// Shows an adopted window above all others, at the bottom of the screen where the user types: `panel`, a
    /// part of the window in its own coordinates, is centred, with its lower edge `distance` above what bars
    /// and docks leave free. Both in device-independent pixels. Without a screen the window stays where it
    /// was.
    virtual void present(QWindow& window, const QRect& panel, int distance) = 0;

    /// Only this part of the window takes clicks; the rest lets them through. Window coordinates.
    virtual void setClickableArea(QWindow& window, const QRegion& area) = 0;

    /// Whether transparent pixels show what lies below. May change while the program runs.
    virtual bool isTranslucent() const = 0;
};

} // namespace tavrik
