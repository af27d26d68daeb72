#pragma once

namespace tavrik {

/// On whose account the desktop is asked for a permission, which it may put before the user.
enum class PermissionRequest {
    /// The program's own: asks only a user who was never asked.
    once,
    /// The user has chosen to be asked, perhaps again.
    byUser,
};

} // namespace tavrik
