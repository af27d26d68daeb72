#include "base/SingleLine.h"

#include <algorithm>

namespace tavrik {

namespace {

bool isControl(QChar character) {
    const auto category = character.category();
    return category == QChar::Other_Control || category == QChar::Separator_Line ||
           category == QChar::Separator_Paragraph;
}

} // namespace

QString singleLine(QString text) {
    std::ranges::replace_if(text, isControl, u' ');
    return text;
}

} // namespace tavrik
