#pragma once

#include "platform/HotKeyBackend.h"

#include <memory>

namespace tavrik {

class GlobalShortcutsBackend;

/// Registers hot keys with the portal, and with another backend where it turns out that there is none. Takes
/// them along when a portal appears later.
class FallbackHotKeyBackend final : public HotKeyBackend {
    Q_OBJECT

public:
    FallbackHotKeyBackend(std::unique_ptr<GlobalShortcutsBackend> portal,
                          std::unique_ptr<HotKeyBackend> fallback);
    ~FallbackHotKeyBackend() override;

    ServiceStatus status() const override;
    std::unique_ptr<Registration> registerHotKey(KeyCombination combination, PermissionRequest request,
                                                 Handlers handlers) override;

    /// The one that serves at present.
    HotKeyBackend& current() const;

private:
    const std::unique_ptr<GlobalShortcutsBackend> m_portal;
    const std::unique_ptr<HotKeyBackend> m_fallback;
};

} // namespace tavrik
