#include "storage/WordCount.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <bit>
#include <cstring>

namespace tavrik {

namespace {

using Block = quint64;
constexpr qsizetype blockSize = sizeof(Block);

constexpr Block everyByte(unsigned char value) {
    return ~Block{0} / 255 * value;
}

// The top bit of every byte that is an ASCII white space, of a block of ASCII only.
Block whiteSpace(Block block) {
    constexpr Block top = everyByte(0x80);
    // No addition carries from one byte to the next, since the bytes are below 0x80.
    const Block atLeastTab = block + everyByte(0x80 - '\t');
    const Block pastReturn = block + everyByte(0x80 - ('\r' + 1));
    const Block other = (block ^ everyByte(' ')) + everyByte(0x7f);
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
        if (size - at >= blockSize) {
            Block block = 0;
            std::memcpy(&block, bytes + at, sizeof block);
            if constexpr (std::endian::native == std::endian::big)
                block = __builtin_bswap64(block);
            if ((block & everyByte(0x80)) == 0) {
                // A word begins where something else follows a white space.
                const Block space = whiteSpace(block) >> 7;
                const Block before = space << 8 | (inWord ? 0 : 1);
                words += std::popcount((space ^ everyByte(1)) & before);
                inWord = (space >> 56) == 0;
                at += blockSize;
                continue;
            }
        }
        UChar32 character = 0;
        U8_NEXT(bytes, at, size, character);
        const bool space = character >= 0 && u_isUWhiteSpace(character);
        words += !space && !inWord;
        inWord = !space;
    }
    return words;
}

} // namespace tavrik
