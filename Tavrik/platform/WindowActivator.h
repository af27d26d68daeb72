#pragma once

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

    /// Raises a window that was shown and gives it the keyboard focus, whatever program had it.
    virtual void activate(QWindow& window) = 0;
};

} // namespace tavrik
