#pragma once

#include "platform/PasteKeys.h"
#include "platform/x11/X11Keyboard.h"

#include <QTimer>

#include <functional>
#include <vector>

namespace tavrik {

/// Control+V by XTEST, or Shift+Insert in terminals and where the active layout has no v.
class X11PasteKeys : public PasteKeys {
public:
    /// `offerSelection` is called when the window that has the focus is about to paste the selection instead
    /// of the clipboard: it should give the selection the clipboard's text.
    X11PasteKeys(X11Keyboard& keyboard, std::function<void()> offerSelection);

    ServiceStatus status() const override;
    /// Nobody to ask: the server allows it or not.
    void requestPermission(PermissionRequest, std::function<void()> answered) override { answered(); }
    /// While one waits for keys to be let go, another adds no keys, and ends with it: the clipboard holds the
    /// newer text by then.
    void sendPaste(Completion<void> completion) override;

private:
    void sendIfFree();
    void sendAnyway();
    void endWaiting(const Result<void>& outcome);
    Result<void> send(const X11Keyboard::InputState& now);

    X11Keyboard& m_keyboard;
    const std::function<void()> m_offerSelection;
    QTimer m_bound;
    /// Of those that wait.
    std::vector<Completion<void>> m_waiting;
};

} // namespace tavrik
