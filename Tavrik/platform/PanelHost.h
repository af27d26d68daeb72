#pragma once

#include <QRect>

#include <optional>

class QRegion;
class QWindow;

namespace tavrik {

/// Windows that float above all others and never take the keyboard focus. Main thread only.
class PanelHost {
public:
    PanelHost() = default;
    PanelHost(const PanelHost&) = delete;
    PanelHost& operator=(const PanelHost&) = delete;
    virtual ~PanelHost() = default;

    /// Makes a window that was never shown such a panel: on every desktop, beside full-screen windows, absent
    /// from task bars.
    virtual void adopt(QWindow& window) = 0;

    /// The part of the screen that bars and docks leave free, on the screen where the user types, in
    /// device-independent pixels. Nothing when there is no screen.
    virtual std::optional<QRect> visibleFrame() const = 0;

    /// Only this part of the window takes clicks; the rest lets them through. Window coordinates.
    virtual void setClickableArea(QWindow& window, const QRegion& area) = 0;

    /// Whether transparent pixels show what lies below. May change while the program runs.
    virtual bool isTranslucent() const = 0;
};

} // namespace tavrik
