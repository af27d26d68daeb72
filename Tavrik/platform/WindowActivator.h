#pragma once

class QByteArray;
class QWindow;

namespace tavrik {

/// Brings one of the program's windows to the front when the user has asked for it outside of it: in the
/// status item's menu, or by starting the program again. Main thread only.
class WindowActivator {
public:
    WindowActivator() = default;
    WindowActivator(const WindowActivator&) = delete;
    WindowActivator& operator=(const WindowActivator&) = delete;
    virtual ~WindowActivator() = default;

    /// Raises a window that was shown and gives it the keyboard focus, whatever program had it. The token
    /// proves to the desktop that the user wants this: what the caller was given as XDG_ACTIVATION_TOKEN or
    /// DESKTOP_STARTUP_ID. Empty if there is none.
    virtual void activate(QWindow& window, const QByteArray& activationToken) = 0;
};

} // namespace tavrik
