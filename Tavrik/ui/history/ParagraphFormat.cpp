#include "ui/history/ParagraphFormat.h"

#include <QFontMetricsF>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <cmath>

namespace tavrik {

ParagraphFormat::ParagraphFormat(QObject* parent) : QObject(parent) {}

QQuickTextDocument* ParagraphFormat::document() const {
    return m_document;
}

void ParagraphFormat::setDocument(QQuickTextDocument* document) {
    if (document == m_document)
        return;
    if (m_document)
        m_document->textDocument()->disconnect(this);
    m_document = document;
    // A new text comes without any format.
    if (m_document)
        connect(m_document->textDocument(), &QTextDocument::contentsChanged, this, &ParagraphFormat::apply);
    apply();
    Q_EMIT changed();
}

qreal ParagraphFormat::lineDistance() const {
    return m_lineDistance;
}

void ParagraphFormat::setLineDistance(qreal distance) {
    if (distance == m_lineDistance)
        return;
    m_lineDistance = distance;
    apply();
    Q_EMIT changed();
}

void ParagraphFormat::apply() {
    auto* text = m_document ? m_document->textDocument() : nullptr;
    if (!text)
        return;
    const qreal lineHeight = std::ceil(QFontMetricsF(text->defaultFont()).height()) + m_lineDistance;
    // Setting the formats is a change of the content too.
    if (text->lastBlock().blockFormat().lineHeight() == lineHeight)
        return;
    QTextCursor cursor(text);
    cursor.beginEditBlock();
    for (auto block = text->begin(); block.isValid(); block = block.next()) {
        QTextBlockFormat format;
        format.setLineHeight(lineHeight, QTextBlockFormat::FixedHeight);
        format.setLayoutDirection(block.text().isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
        format.setAlignment(Qt::AlignLeading);
        cursor.setPosition(block.position());
        cursor.setBlockFormat(format);
    }
    cursor.endEditBlock();
}

} // namespace tavrik
