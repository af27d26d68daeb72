#pragma once

#include "platform/PanelHost.h"
#include "platform/x11/Struts.h"

#include <QRect>

#include <xcb/xcb.h>

#include <functional>
#include <vector>

class QScreen;

namespace tavrik {

/// Panels under X11: windows the window manager does not manage. Uses the application's own connection, which
/// must be to an X server.
class X11PanelHost : public PanelHost {
public:
    /// Asks on which output the user types, for its name; an empty one if that is not known.
    using AskTypingOutput = std::function<void(std::function<void(const QString& name)> answered)>;

    /// Without `askTypingOutput` the X server is believed, which does not know of others' windows.
    explicit X11PanelHost(AskTypingOutput askTypingOutput = {});

    ServiceStatus status() const override;
    void adopt(QWindow& window) override;
    void present(QWindow& window, const QRect& panel, int distance) override;
    void setClickableArea(QWindow& window, const QRegion& area) override;
    bool isTranslucent() const override;

private:
    void place(QWindow& window, const QRect& panel, int distance, const QScreen& screen) const;
    QRect visibleFrame(const QScreen& screen) const;
    QScreen* typingScreen() const;
    QRect withoutBars(const QScreen& screen) const;
    std::vector<Strut> struts() const;
    QRect workArea(const QScreen& screen, bool hasDocks) const;

    AskTypingOutput m_askTypingOutput;
    xcb_connection_t* m_connection;
    xcb_window_t m_root;
    xcb_atom_t m_compositor = XCB_ATOM_NONE;
    xcb_atom_t m_activeWindow = XCB_ATOM_NONE;
    xcb_atom_t m_clientList = XCB_ATOM_NONE;
    xcb_atom_t m_strutPartial = XCB_ATOM_NONE;
    xcb_atom_t m_currentDesktop = XCB_ATOM_NONE;
    xcb_atom_t m_workArea = XCB_ATOM_NONE;
};

} // namespace tavrik
