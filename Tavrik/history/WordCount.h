#pragma once

#include <QByteArrayView>

namespace tavrik {

/// The words of a UTF-8 text: the runs of characters that are not Unicode white space.
qsizetype wordCount(QByteArrayView text);

} // namespace tavrik
