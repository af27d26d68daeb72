#pragma once

#include "platform/PasteKeys.h"
#include "platform/wayland/WaylandConnection.h"

#include <QByteArrayList>

#include <functional>
#include <memory>

namespace tavrik {

/// Where a Wayland compositor and its X server each have keys of their own: whichever the window that has the
/// keyboard listens to.
class XWaylandPasteKeys : public PasteKeys {
public:
    struct Dependencies {
        /// Of the compositor. Their status is that of the whole.
        std::unique_ptr<PasteKeys> waylandKeys;
        /// Of the X server.
        std::unique_ptr<PasteKeys> xKeys;
        /// The class of the X window that has the keyboard; empty when it is no X window.
        std::function<QByteArrayList()> focusedXWindow;
        /// Called before the selection is pasted, as terminals do: gives it the clipboard's text.
        std::function<void()> offerSelection;
        /// What the clipboard uses.
        WaylandConnection& connection;
    };

    explicit XWaylandPasteKeys(Dependencies dependencies);

    ServiceStatus status() const override;
    void requestPermission(PermissionRequest request, std::function<void()> answered) override;
    void sendPaste(Completion<void> completion) override;

private:
    const Dependencies m_dependencies;
};

} // namespace tavrik
