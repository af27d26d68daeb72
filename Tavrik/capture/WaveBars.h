#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QList>
#include <QQuickPaintedItem>

namespace tavrik {

/// The level meter: one upright capsule per level, 0 to 1, easing towards every new value. One item draws
/// them all, since an animated item per bar costs more than the rest of the panel.
class WaveBars : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QList<double> levels READ levels WRITE setLevels NOTIFY levelsChanged)

public:
    explicit WaveBars(QQuickItem* parent = nullptr);

    QList<double> levels() const { return m_levels; }
    void setLevels(const QList<double>& levels);

    void paint(QPainter* painter) override;

Q_SIGNALS:
    void levelsChanged();

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    bool isOnScreen() const;

    QList<double> m_levels;
    QList<double> m_from;
    QList<double> m_drawn;
    QElapsedTimer m_sinceChange;
    QBasicTimer m_frames;
};

} // namespace tavrik
