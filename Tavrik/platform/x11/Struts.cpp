#include "platform/x11/Struts.h"

#include <algorithm>

namespace tavrik {

QRect freeArea(const QRect& screen, QSize root, const std::vector<Strut>& struts) {
    QRect area = screen;
    for (const Strut& strut : struts) {
        const auto at = [&strut](size_t index) {
            return static_cast<int>(std::min(strut.at(index), 0x7fffU));
        };
        const auto along = [&at](size_t start) {
            return at(start + 1) - at(start) + 1;
        };
        const QRect left(0, at(4), at(0), along(4));
        const QRect right(root.width() - at(1), at(6), at(1), along(6));
        const QRect top(at(8), 0, along(8), at(2));
        const QRect bottom(at(10), root.height() - at(3), along(10), at(3));

        // Depths are counted from the edge of the root window, across other screens: a dock stands on the
        // screen its inner edge falls on.
        if (left.intersects(screen) && left.right() < screen.right())
            area.setLeft(std::max(area.left(), left.right() + 1));
        if (right.intersects(screen) && right.left() > screen.left())
            area.setRight(std::min(area.right(), right.left() - 1));
        if (top.intersects(screen) && top.bottom() < screen.bottom())
            area.setTop(std::max(area.top(), top.bottom() + 1));
        if (bottom.intersects(screen) && bottom.top() > screen.top())
            area.setBottom(std::min(area.bottom(), bottom.top() - 1));
    }
    return area;
}

QRect workAreaOf(const QRect& screen, const std::vector<QRect>& workAreas) {
    QRect largest;
    for (const QRect& workArea : workAreas) {
        const auto common = workArea.intersected(screen);
        if (qint64{common.width()} * common.height() > qint64{largest.width()} * largest.height())
            largest = common;
    }
    return largest;
}

} // namespace tavrik
