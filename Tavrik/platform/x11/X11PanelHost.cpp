#include "platform/x11/X11PanelHost.h"

#include "platform/x11/Struts.h"
#include "platform/x11/Xcb.h"

#include <QCursor>
#include <QGuiApplication>
#include <QPointer>
#include <QRegion>
#include <QScreen>
#include <QWindow>

#include <xcb/shape.h>

#include <algorithm>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

xcb_get_property_cookie_t request(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property,
                                  xcb_atom_t type) {
    constexpr uint32_t mostWords = 4096;
    return xcb_get_property(connection, 0, window, property, type, 0, mostWords);
}

/// The property's 32-bit values; none if it is not there or of another kind.
std::vector<uint32_t> values(xcb_connection_t* connection, xcb_get_property_cookie_t cookie) {
    const XcbPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 32)
        return {};
    const auto* first = static_cast<const uint32_t*>(xcb_get_property_value(reply.get()));
    return {first, first + reply->value_len};
}

/// Of four values each: x, y, width and height.
std::vector<QRect> rectangles(const std::vector<uint32_t>& values) {
    const auto at = [&values](size_t index) {
        return static_cast<int>(std::min(values[index], 0x7fffU));
    };
    std::vector<QRect> rectangles;
    for (size_t i = 0; i + 3 < values.size(); i += 4)
        rectangles.emplace_back(at(i), at(i + 1), at(i + 2), at(i + 3));
    return rectangles;
}

/// The screen in the X server's pixels: its position is the same, its size is not.
QRect nativeGeometry(const QScreen& screen) {
    return {screen.geometry().topLeft(), (QSizeF(screen.size()) * screen.devicePixelRatio()).toSize()};
}

} // namespace

X11PanelHost::X11PanelHost(AskTypingOutput askTypingOutput)
    : m_askTypingOutput(std::move(askTypingOutput)), m_connection(applicationConnection()),
      m_root(xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root) {
    fetchAtoms(m_connection, {{"_NET_WM_CM_S0", &m_compositor},
                              {"_NET_ACTIVE_WINDOW", &m_activeWindow},
                              {"_NET_CLIENT_LIST", &m_clientList},
                              {"_NET_WM_STRUT_PARTIAL", &m_strutPartial},
                              {"_NET_CURRENT_DESKTOP", &m_currentDesktop},
                              {"_NET_WORKAREA", &m_workArea}});
}

ServiceStatus X11PanelHost::status() const {
    return {u"X11 override-redirect window"_s, true};
}

void X11PanelHost::adopt(QWindow& window) {
    // Without the bypass it would stand in task bars and below full-screen windows.
    window.setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                    Qt::WindowDoesNotAcceptFocus | Qt::BypassWindowManagerHint);
}

void X11PanelHost::present(QWindow& window, const QRect& panel, int distance) {
    if (const auto* screen = typingScreen())
        place(window, panel, distance, *screen);
    window.show();
    window.raise();
    if (!m_askTypingOutput || QGuiApplication::screens().size() < 2)
        return;
    // Nobody waits for the answer; usually it comes before the panel is drawn.
    m_askTypingOutput([this, window = QPointer(&window), panel, distance](const QString& name) {
        const auto screens = QGuiApplication::screens();
        const auto found = std::ranges::find(screens, name, &QScreen::name);
        if (window && found != screens.end())
            place(*window, panel, distance, **found);
    });
}

void X11PanelHost::place(QWindow& window, const QRect& panel, int distance, const QScreen& screen) const {
    const auto frame = visibleFrame(screen);
    const QPoint centre(frame.x() + frame.width() / 2,
                        frame.y() + frame.height() - distance - panel.height() / 2);
    window.setPosition(centre - QPoint(panel.x() + panel.width() / 2, panel.y() + panel.height() / 2));
}

/// The part of the screen that bars and docks leave free, in device-independent pixels.
QRect X11PanelHost::visibleFrame(const QScreen& screen) const {
    const auto native = withoutBars(screen);
    const double scale = screen.devicePixelRatio();
    const auto origin = screen.geometry().topLeft();
    return QRectF(origin + QPointF(native.topLeft() - origin) / scale, QSizeF(native.size()) / scale)
        .toRect();
}

void X11PanelHost::setClickableArea(QWindow& window, const QRegion& area) {
    const double scale = window.devicePixelRatio();
    std::vector<xcb_rectangle_t> rectangles;
    for (const QRect& rect : area) {
        const auto native = QRectF(QPointF(rect.topLeft()) * scale, QSizeF(rect.size()) * scale).toRect();
        rectangles.push_back({static_cast<int16_t>(native.x()), static_cast<int16_t>(native.y()),
                              static_cast<uint16_t>(native.width()), static_cast<uint16_t>(native.height())});
    }
    xcb_shape_rectangles(m_connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED,
                         static_cast<xcb_window_t>(window.winId()), 0, 0,
                         static_cast<uint32_t>(rectangles.size()), rectangles.data());
    xcb_flush(m_connection);
}

bool X11PanelHost::isTranslucent() const {
    return hasOwner(m_connection, m_compositor);
}

/// The screen that holds the middle of the active window, or of what has the keyboard focus; else the
/// pointer's.
QScreen* X11PanelHost::typingScreen() const {
    const auto activeCookie = request(m_connection, m_root, m_activeWindow, XCB_ATOM_WINDOW);
    const auto focusCookie = xcb_get_input_focus(m_connection);
    const auto active = values(m_connection, activeCookie);
    const XcbPointer<xcb_get_input_focus_reply_t> focus(
        xcb_get_input_focus_reply(m_connection, focusCookie, nullptr));
    xcb_window_t window = active.empty() ? xcb_window_t{XCB_WINDOW_NONE} : active.front();
    if (window == XCB_WINDOW_NONE && focus)
        window = focus->focus;

    // Neither "none" nor "where the pointer is" is a window.
    if (window > XCB_INPUT_FOCUS_POINTER_ROOT && window != m_root) {
        const auto sizeCookie = xcb_get_geometry(m_connection, window);
        const auto placeCookie = xcb_translate_coordinates(m_connection, window, m_root, 0, 0);
        const XcbPointer<xcb_get_geometry_reply_t> size(
            xcb_get_geometry_reply(m_connection, sizeCookie, nullptr));
        const XcbPointer<xcb_translate_coordinates_reply_t> place(
            xcb_translate_coordinates_reply(m_connection, placeCookie, nullptr));
        if (size && place) {
            const QPoint middle(place->dst_x + size->width / 2, place->dst_y + size->height / 2);
            const auto screens = QGuiApplication::screens();
            const auto found = std::ranges::find_if(
                screens, [&](const QScreen* screen) { return nativeGeometry(*screen).contains(middle); });
            if (found != screens.end())
                return *found;
        }
    }
    auto* pointed = QGuiApplication::screenAt(QCursor::pos());
    return pointed ? pointed : QGuiApplication::primaryScreen();
}

QRect X11PanelHost::withoutBars(const QScreen& screen) const {
    const auto rootCookie = xcb_get_geometry(m_connection, m_root);
    const auto docks = struts();
    const XcbPointer<xcb_get_geometry_reply_t> root(
        xcb_get_geometry_reply(m_connection, rootCookie, nullptr));
    auto area = nativeGeometry(screen);
    if (root)
        area = freeArea(area, {root->width, root->height}, docks);
    const auto work = area.intersected(workArea(screen, !docks.empty()));
    return work.isEmpty() ? area : work;
}

/// What docks reserve.
std::vector<Strut> X11PanelHost::struts() const {
    const auto windows = values(m_connection, request(m_connection, m_root, m_clientList, XCB_ATOM_WINDOW));
    std::vector<xcb_get_property_cookie_t> cookies;
    cookies.reserve(windows.size());
    for (const auto window : windows)
        cookies.push_back(request(m_connection, window, m_strutPartial, XCB_ATOM_CARDINAL));
    std::vector<Strut> struts;
    for (const auto cookie : cookies) {
        if (const auto words = values(m_connection, cookie); words.size() == std::tuple_size_v<Strut>)
            std::ranges::copy(words, struts.emplace_back().begin());
    }
    return struts;
}

/// What the window manager leaves to windows on that screen, since some shells draw their bars themselves;
/// null if it does not say.
QRect X11PanelHost::workArea(const QScreen& screen, bool hasDocks) const {
    const auto desktopCookie = request(m_connection, m_root, m_currentDesktop, XCB_ATOM_CARDINAL);
    const auto wholeCookie = request(m_connection, m_root, m_workArea, XCB_ATOM_CARDINAL);
    const auto desktop = values(m_connection, desktopCookie);
    const uint32_t index = desktop.empty() ? 0 : desktop.front();
    const auto ofScreens = xcbAtom(m_connection, qPrintable(u"_GTK_WORKAREAS_D%1"_s.arg(index)));
    const auto screensCookie = request(m_connection, m_root, ofScreens, XCB_ATOM_CARDINAL);
    const auto ofDesktops = rectangles(values(m_connection, wholeCookie));
    if (const auto found =
            workAreaOf(nativeGeometry(screen), rectangles(values(m_connection, screensCookie)));
        !found.isEmpty())
        return found;
    // One for all screens. Docks are known better from themselves; a shell's bars are on the first screen.
    const bool isOfScreen =
        QGuiApplication::screens().size() == 1 || (!hasDocks && &screen == QGuiApplication::primaryScreen());
    return isOfScreen && index < ofDesktops.size() ? ofDesktops[index] : QRect();
}

} // namespace tavrik
