#pragma once

#include "platform/Clipboard.h"
#include "platform/wayland/WaylandConnection.h"

#include <memory>

namespace tavrik {

/// The clipboard of a compositor that lets programs without the keyboard focus have it. The text lasts as
/// long as this, unless a clipboard manager has taken a copy.
class DataControlClipboard : public Clipboard {
public:
    class Device;

    /// Whether the compositor offers what this needs.
    static bool isOffered(const WaylandConnection& connection);

    explicit DataControlClipboard(WaylandConnection& connection);
    ~DataControlClipboard() override;

    ServiceStatus status() const override;
    void setText(const QString& text) override;

    /// Offers our text, in one line, as the primary selection too, where there is one and while the clipboard
    /// is still ours.
    void offerAsSelection();

private:
    void openDevice();

    WaylandConnection& m_connection;
    std::unique_ptr<Device> m_device;
};

} // namespace tavrik
