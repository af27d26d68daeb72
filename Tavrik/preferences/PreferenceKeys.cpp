#include "preferences/PreferenceKeys.h"

#include <cmath>
#include <limits>

namespace tavrik {

namespace {

constexpr auto largest = std::numeric_limits<quint32>::max();

} // namespace

std::optional<quint32> usable(const Preference<quint32>&, const QVariant& stored) {
    if (stored.typeId() == QMetaType::LongLong) {
        const qint64 number = stored.toLongLong();
        if (number >= 0 && number <= largest)
            return static_cast<quint32>(number);
    } else if (stored.typeId() == QMetaType::Double) {
        const double number = stored.toDouble();
        if (number >= 0 && number <= largest && std::trunc(number) == number)
            return static_cast<quint32>(number);
    }
    return std::nullopt;
}

std::optional<bool> usable(const Preference<bool>&, const QVariant& stored) {
    return stored.typeId() == QMetaType::Bool ? std::optional(stored.toBool()) : std::nullopt;
}

std::optional<QString> usable(const Preference<QStringView>&, const QVariant& stored) {
    return stored.typeId() == QMetaType::QString ? std::optional(stored.toString()) : std::nullopt;
}

} // namespace tavrik
