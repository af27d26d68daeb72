#include "ui/hud/RecordingHUD.h"

#include "base/MainQueue.h"
#include "platform/PanelHost.h"

#include <QQuickItem>
#include <QQuickView>
#include <QRegion>

#include <chrono>
#include <cmath>
#include <utility>

void qml_register_types_Tavrik();

namespace tavrik {

using namespace std::chrono_literals;

namespace {

/// What is placed on the screen: the pill stands in its middle, and its shadow may reach beyond it.
constexpr QSize panelSize(200, 62);
constexpr int distanceFromBottom = 72;

constexpr auto noteLasts = 3s;

/// Row by row, since a region's own ellipses are not symmetrical.
QRegion capsule(const QRect& rect) {
    const double radius = rect.height() / 2.0;
    QRegion region;
    for (int row = 0; row < rect.height(); ++row) {
        const double fromMiddle = row + 0.5 - radius;
        const int inset = qRound(radius - std::sqrt(radius * radius - fromMiddle * fromMiddle));
        region += QRect(rect.x() + inset, rect.y() + row, rect.width() - 2 * inset, 1);
    }
    return region;
}

} // namespace

RecordingHUD::RecordingHUD(PanelHost& host, MainQueue& queue, QQmlEngine& engine)
    : m_host(host), m_queue(queue), m_engine(engine) {
    m_levelTimer.setInterval(50ms);
    m_levelTimer.setTimerType(Qt::PreciseTimer);
    m_levelTimer.callOnTimeout([this] { m_model.push(m_levelProvider()); });
    m_hiding.setSingleShot(true);
    m_hiding.callOnTimeout([this] {
        if (m_panel)
            m_panel->hide();
    });
}

RecordingHUD::~RecordingHUD() = default;

void RecordingHUD::setHint(const QString& hint) {
    m_model.setHint(hint);
}

void RecordingHUD::show(std::function<float()> levelProvider, std::function<void()> onCancel,
                        std::function<void()> onConfirm) {
    m_model.setState(HUDState::recording);
    m_model.clearLevels();
    m_model.setActions(posted(std::move(onCancel)), posted(std::move(onConfirm)));
    if (!m_panel)
        makePanel();
    m_hiding.stop();
    presentPanel();
    m_levelProvider = std::move(levelProvider);
    m_levelTimer.start();
}

void RecordingHUD::setProcessing() {
    m_levelTimer.stop();
    m_model.setState(HUDState::processing);
}

void RecordingHUD::hide() {
    m_levelTimer.stop();
    // In a later turn: the server takes milliseconds to draw what was behind the panel, and the paste that
    // follows a hide would wait for it.
    m_hiding.start(0ms);
}

void RecordingHUD::showNote(const QString& note) {
    if (!m_panel)
        return;
    m_model.setHint(note);
    m_model.setState(HUDState::note);
    presentPanel();
    m_hiding.start(noteLasts);
}

void RecordingHUD::makePanel() {
    qml_register_types_Tavrik();
    m_panel = std::make_unique<QQuickView>(&m_engine, nullptr);
    m_panel->setColor(Qt::transparent);
    m_panel->setInitialProperties({{QStringLiteral("model"), QVariant::fromValue(&m_model)}});
    m_panel->setSource(QUrl(QStringLiteral("qrc:/qml/Tavrik/hud/RecordingHUD.qml")));
    m_host.adopt(*m_panel);
}

void RecordingHUD::presentPanel() {
    const auto pill = m_panel->rootObject()->property("pillRect").toRectF().toRect();
    const bool translucent = m_host.isTranslucent();
    m_panel->rootObject()->setProperty("translucent", translucent);
    m_panel->setMask(translucent ? QRegion() : capsule(pill));
    m_host.setClickableArea(*m_panel, capsule(pill));

    QRect panel(QPoint(), panelSize);
    panel.moveCenter(pill.center());
    m_host.present(*m_panel, panel, distanceFromBottom);
}

std::function<void()> RecordingHUD::posted(std::function<void()> action) {
    return [&queue = m_queue, action = std::move(action)] {
        queue.post(action);
    };
}

} // namespace tavrik
