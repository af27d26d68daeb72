#include "ui/hud/HUDModel.h"

#include <algorithm>
#include <utility>

namespace tavrik {

namespace {

/// Speech seldom comes near full scale: this much more fills the meter.
constexpr double gain = 2.2;

} // namespace

HUDModel::HUDModel(QObject* parent) : QObject(parent) {}

void HUDModel::setState(HUDState state) {
    if (std::exchange(m_state, state) != state)
        Q_EMIT stateChanged();
}

void HUDModel::setHint(const QString& hint) {
    if (std::exchange(m_hint, hint) != hint)
        Q_EMIT hintChanged();
}

void HUDModel::clearLevels() {
    m_levels.fill(0.0, barCount);
    Q_EMIT levelsChanged();
}

void HUDModel::push(double level) {
    m_levels.removeFirst();
    Q_EMIT levelsChanged();
    m_levels.append(std::min(level * gain, 1.0));
    Q_EMIT levelsChanged();
}

void HUDModel::setActions(std::function<void()> onCancel, std::function<void()> onConfirm) {
    m_onCancel = std::move(onCancel);
    m_onConfirm = std::move(onConfirm);
}

} // namespace tavrik
