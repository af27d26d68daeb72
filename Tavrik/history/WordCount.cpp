#include "history/WordCount.h"

#include <QString>

namespace tavrik {

qsizetype wordCount(QByteArrayView text) {
    qsizetype words = 0;
    bool inWord = false;
    for (const auto character : QString::fromUtf8(text)) {
        const bool startsWord = !inWord && !character.isSpace();
        words += startsWord ? 1 : 0;
        inWord = !character.isSpace();
    }
    return words;
}

} // namespace tavrik
