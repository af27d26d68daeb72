#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickTextDocument>
#include <QtQml/qqmlregistration.h>

namespace tavrik {

/// Gives a TextEdit what it has no properties for: lines of one height whatever scripts they hold, with room
/// between them, and to each paragraph the direction of its own text.
class ParagraphFormat : public QObject {
    Q_OBJECT
    QML_ELEMENT
    /// The edit's textDocument.
    Q_PROPERTY(QQuickTextDocument* document READ document WRITE setDocument NOTIFY changed REQUIRED)
    /// Between a line and the next, in pixels, added to the height of the edit's font; it lies above the
    /// lines.
    Q_PROPERTY(qreal lineDistance READ lineDistance WRITE setLineDistance NOTIFY changed REQUIRED)

public:
    explicit ParagraphFormat(QObject* parent = nullptr);

    QQuickTextDocument* document() const;
    void setDocument(QQuickTextDocument* document);
    qreal lineDistance() const;
    void setLineDistance(qreal distance);

Q_SIGNALS:
    void changed();

private:
    void apply();

    QPointer<QQuickTextDocument> m_document;
    qreal m_lineDistance = 0;
};

} // namespace tavrik
