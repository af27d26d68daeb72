#pragma once

#include "ui/hud/HUDModel.h"

#include <QBasicTimer>
#include <QColor>
#include <QElapsedTimer>
#include <QList>
#include <QPointer>
#include <QQuickPaintedItem>

namespace tavrik {

/// The level meter: one upright capsule per level, 0 to 1, easing towards every new value. One item draws
/// them all, since an animated item per bar costs more than the rest of the panel; and it takes the levels
/// from the model itself, since a binding would leave two copies of them to the garbage collector at every
/// sample.
class WaveBars : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tavrik::HUDModel* model READ model WRITE setModel NOTIFY modelChanged)
    Q_PROPERTY(QColor color MEMBER m_color)

public:
    explicit WaveBars(QQuickItem* parent = nullptr);

    HUDModel* model() const { return m_model; }
    void setModel(HUDModel* model);

    void paint(QPainter* painter) override;

Q_SIGNALS:
    void modelChanged();

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    bool isOnScreen() const;
    void followLevels();

    QPointer<HUDModel> m_model;
    QColor m_color = Qt::white;
    QList<double> m_levels;
    QList<double> m_from;
    QList<double> m_drawn;
    QElapsedTimer m_sinceChange;
    QBasicTimer m_frames;
};

} // namespace tavrik
