#pragma once

#include <QQuickPaintedItem>
#include <QRectF>

namespace tavrik {

/// The soft shadow below a capsule. Painted when the panel is made, and not again while the panel moves or
/// changes.
class PillShadow : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    /// The capsule that casts the shadow, in this item's coordinates.
    Q_PROPERTY(QRectF capsule READ capsule WRITE setCapsule NOTIFY capsuleChanged)

public:
    explicit PillShadow(QQuickItem* parent = nullptr);

    QRectF capsule() const { return m_capsule; }
    void setCapsule(const QRectF& capsule);

    void paint(QPainter* painter) override;

Q_SIGNALS:
    void capsuleChanged();

private:
    QRectF m_capsule;
};

} // namespace tavrik
