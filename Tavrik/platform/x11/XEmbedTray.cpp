#include "platform/x11/XEmbedTray.h"

#include "platform/x11/Xcb.h"

namespace tavrik {

bool hasXEmbedTray() {
    auto* connection = applicationConnection();
    return connection && hasOwner(connection, xcbAtom(connection, "_NET_SYSTEM_TRAY_S0"));
}

} // namespace tavrik
