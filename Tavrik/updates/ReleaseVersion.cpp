#include "updates/ReleaseVersion.h"

#include <QList>
#include <QStringView>

#include <algorithm>
#include <charconv>

namespace tavrik {

namespace {

// Not QStringView::toLongLong, which accepts surrounding white space.
qint64 number(QStringView piece) {
    const QByteArray text = piece.toUtf8();
    const auto* begin = text.begin() + (text.startsWith('+') && !text.startsWith("+-") ? 1 : 0);
    qint64 value = 0;
    const auto [end, error] = std::from_chars(begin, text.end(), value);
    return error == std::errc() && end == text.end() ? value : 0;
}

} // namespace

bool isNewer(QStringView a, QStringView b) {
    const auto left = a.split(u'.', Qt::SkipEmptyParts);
    const auto right = b.split(u'.', Qt::SkipEmptyParts);
    for (qsizetype i = 0; i < std::max(left.size(), right.size()); ++i) {
        const auto ours = number(left.value(i));
        const auto theirs = number(right.value(i));
        if (ours != theirs)
            return ours > theirs;
    }
    return false;
}

} // namespace tavrik
