#include "history/WordCount.h"

#include "history/ByteBlock.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <bit>

namespace tavrik {

namespace {

// The top bit of every byte that is an ASCII white space, of a block of ASCII only.
ByteBlock whiteSpace(ByteBlock block) {
    static_assert(std::endian::native == std::endian::little, "the first byte must be the lowest");
    constexpr ByteBlock top = everyByte(0x80);
    // No addition carries from one byte to the next, since the bytes are below 0x80.
    const ByteBlock atLeastTab = block + everyByte(0x80 - '\t');
    const ByteBlock pastReturn = block + everyByte(0x80 - ('\r' + 1));
    const ByteBlock other = (block ^ everyByte(' ')) + everyByte(0x7f);
    return ((atLeastTab & ~pastReturn) | ~other) & top;
}

} // namespace

qsizetype wordCount(QByteArrayView text) {
    qsizetype words = 0;
    bool inWord = false;
    const char* const bytes = text.data();
    const qsizetype size = text.size();
    qsizetype at = 0;
    while (at < size) {
        if (size - at >= byteBlockSize) {
            const ByteBlock block = blockAt(bytes + at);
            if ((block & everyByte(0x80)) == 0) {
                // A word begins where something else follows a white space.
                const ByteBlock space = whiteSpace(block) >> 7;
                const ByteBlock before = space << 8 | (inWord ? 0 : 1);
                words += std::popcount((space ^ everyByte(1)) & before);
                inWord = (space >> 56) == 0;
                at += byteBlockSize;
                continue;
            }
        }
        UChar32 character = 0;
        U8_NEXT(bytes, at, size, character); // NOLINT(bugprone-inc-dec-in-conditions): inside the macro
        const bool space = character >= 0 && u_isUWhiteSpace(character);
        words += !space && !inWord;
        inWord = !space;
    }
    return words;
}

} // namespace tavrik
