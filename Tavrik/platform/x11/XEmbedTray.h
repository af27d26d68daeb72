#pragma once

namespace tavrik {

/// Whether a bar that embeds tray icons the old way is there. Main thread only.
bool hasXEmbedTray();

} // namespace tavrik
