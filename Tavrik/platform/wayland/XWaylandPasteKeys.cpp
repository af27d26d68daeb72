#include "platform/wayland/XWaylandPasteKeys.h"

#include "platform/linux/Terminals.h"

#include <utility>

namespace tavrik {

XWaylandPasteKeys::XWaylandPasteKeys(Dependencies dependencies) : m_dependencies(std::move(dependencies)) {
    connect(m_dependencies.waylandKeys.get(), &Service::statusChanged, this, &Service::statusChanged);
}

ServiceStatus XWaylandPasteKeys::status() const {
    return m_dependencies.waylandKeys->status();
}

void XWaylandPasteKeys::requestPermission(PermissionRequest request, std::function<void()> answered) {
    m_dependencies.waylandKeys->requestPermission(request, std::move(answered));
}

void XWaylandPasteKeys::sendPaste(Completion<void> completion) {
    const auto window = m_dependencies.focusedXWindow();
    if (window.isEmpty())
        return m_dependencies.waylandKeys->sendPaste(std::move(completion));
    if (isTerminal(window))
        m_dependencies.offerSelection();
    // The keys go straight to the X server, the clipboard goes there by way of the compositor.
    m_dependencies.connection.afterRequests(this, [this, completion = std::move(completion)]() mutable {
        m_dependencies.xKeys->sendPaste(std::move(completion));
    });
}

} // namespace tavrik
