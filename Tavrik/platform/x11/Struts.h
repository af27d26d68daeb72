#pragma once

#include <QRect>
#include <QSize>

#include <array>
#include <cstdint>
#include <vector>

namespace tavrik {

/// What one dock reserves, as _NET_WM_STRUT_PARTIAL has it: the depth at the root window's left, right, top
/// and bottom edge, then for each of the four the first and the last pixel along that edge.
using Strut = std::array<uint32_t, 12>;

/// The part of a screen that the docks leave free. All in the X server's pixels.
QRect freeArea(const QRect& screen, QSize root, const std::vector<Strut>& struts);

/// Of work areas, of which each screen has one, the one of this screen; null if none touches it.
QRect workAreaOf(const QRect& screen, const std::vector<QRect>& workAreas);

} // namespace tavrik
