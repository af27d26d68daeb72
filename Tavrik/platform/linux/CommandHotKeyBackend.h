#pragma once

#include "platform/HotKeyBackend.h"

namespace tavrik {

/// For desktops where a program can register no key: the user binds `tavrik press`, `release` or `toggle` in
/// the desktop's own configuration. The commands arrive by another way; a registration only knows the lines
/// for the configuration, and delivers nothing itself.
class CommandHotKeyBackend final : public HotKeyBackend {
public:
    ServiceStatus status() const override;
    std::unique_ptr<Registration> registerHotKey(KeyCombination combination, PermissionRequest request,
                                                 Handlers handlers) override;
};

} // namespace tavrik
