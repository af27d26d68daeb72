#pragma once

#include <QtGlobal>

#include <cstring>

// Eight bytes at a time in one integer: what every processor does without special instructions.
namespace tavrik {

using ByteBlock = quint64;

inline constexpr qsizetype byteBlockSize = sizeof(ByteBlock);

/// A block of eight bytes of this value.
constexpr ByteBlock everyByte(unsigned char value) {
    return ~ByteBlock{0} / 255 * value;
}

inline ByteBlock blockAt(const char* bytes) {
    ByteBlock block = 0;
    std::memcpy(&block, bytes, sizeof block);
    return block;
}

} // namespace tavrik
