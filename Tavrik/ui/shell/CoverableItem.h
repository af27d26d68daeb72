#pragma once

#include <QQuickItem>

namespace tavrik {

/// A part of the window that something modal may cover: it is seen then, but assistive technology finds
/// nothing in it. Must be given a role. Main thread only.
class CoverableItem : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool covered READ isCovered WRITE setCovered NOTIFY coveredChanged)

public:
    explicit CoverableItem(QQuickItem* parent = nullptr);

    bool isCovered() const { return m_covered; }
    void setCovered(bool covered);

Q_SIGNALS:
    void coveredChanged();

private:
    bool m_covered = false;
};

} // namespace tavrik
