#pragma once

#include "platform/linux/EmbeddingTray.h"

#include <QAbstractNativeEventFilter>

#include <xcb/xcb.h>

namespace tavrik {

/// The XEmbed tray of the X server that shows the application's own windows; never running where that is not
/// X11. Trays announce themselves to the clients that listen to the root window, as Qt does.
class XEmbedTray final : public EmbeddingTray, private QAbstractNativeEventFilter {
public:
    XEmbedTray();

    bool isRunning() const override;

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    xcb_connection_t* m_connection;
    xcb_atom_t m_tray = XCB_ATOM_NONE;
    xcb_atom_t m_manager = XCB_ATOM_NONE;
};

} // namespace tavrik
