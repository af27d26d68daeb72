#pragma once

#include <QBasicTimer>
#include <QColor>
#include <QQuickPaintedItem>

namespace tavrik {

/// A small light wheel that turns in steps while `running`.
class Spinner : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool running READ isRunning WRITE setRunning NOTIFY runningChanged)
    /// Of the leading spoke.
    Q_PROPERTY(QColor color MEMBER m_color)

public:
    explicit Spinner(QQuickItem* parent = nullptr);

    bool isRunning() const { return m_steps.isActive(); }
    void setRunning(bool running);

    void paint(QPainter* painter) override;

Q_SIGNALS:
    void runningChanged();

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    QBasicTimer m_steps;
    int m_step = 0;
    QColor m_color = Qt::white;
};

} // namespace tavrik
