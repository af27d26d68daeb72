#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickTextDocument>
#include <QtQml/qqmlregistration.h>

namespace tavrik {

/// Gives a TextEdit what it has no properties for: a fixed line height for all scripts, and for each
/// paragraph the direction of its own text.
class ParagraphFormat : public QObject {
    Q_OBJECT
    QML_ELEMENT
    /// The edit's textDocument.
    Q_PROPERTY(QQuickTextDocument* document READ document WRITE setDocument NOTIFY changed REQUIRED)
    /// Pixels above each line, added to the height of the edit's font.
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
