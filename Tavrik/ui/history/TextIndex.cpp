#include "ui/history/TextIndex.h"

#include <algorithm>
#include <cstring>
#include <experimental/simd>
#include <numeric>
#include <string_view>

namespace tavrik {

namespace {

namespace stdx = std::experimental;

/// Ends each text. No byte of UTF-8, so that nothing is found across two texts.
constexpr char separator = '\xFF';

/// Where `needle` (not empty) first occurs from `from` on. Looks at the needle's first and last byte in a
/// block of positions at once: several times faster than memmem() when hits are as frequent as words of a
/// language are.
std::size_t findFrom(std::string_view text, std::size_t from, std::string_view needle) {
    using Block = stdx::native_simd<unsigned char>;
    const Block first(static_cast<unsigned char>(needle.front()));
    const Block last(static_cast<unsigned char>(needle.back()));
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());

    for (; from + needle.size() - 1 + Block::size() <= text.size(); from += Block::size()) {
        const Block heads(bytes + from, stdx::element_aligned);
        const Block tails(bytes + from + needle.size() - 1, stdx::element_aligned);
        auto candidates = heads == first && tails == last;
        while (stdx::any_of(candidates)) {
            const auto offset = static_cast<std::size_t>(stdx::find_first_set(candidates));
            if (std::memcmp(text.data() + from + offset, needle.data(), needle.size()) == 0)
                return from + offset;
            candidates[offset] = false;
        }
    }
    return text.find(needle, from);
}

} // namespace

TextIndex::TextIndex(SearchFold fold) : m_fold(fold), m_starts{0} {}

std::size_t TextIndex::size() const {
    return m_starts.size() - 1;
}

void TextIndex::insert(std::size_t position, QByteArrayView utf8) {
    const auto start = m_starts[position];
    std::string form;
    m_fold.append(utf8, form);
    form += separator;
    const auto length = form.size();
    m_bytes.insert(start, form);
    const auto at = m_starts.insert(m_starts.begin() + static_cast<std::ptrdiff_t>(position), start);
    std::for_each(at + 1, m_starts.end(), [length](std::size_t& later) { later += length; });
}

void TextIndex::remove(std::size_t position) {
    const auto start = m_starts[position];
    const auto length = m_starts[position + 1] - start;
    m_bytes.erase(start, length);
    const auto at = m_starts.erase(m_starts.begin() + static_cast<std::ptrdiff_t>(position));
    std::for_each(at, m_starts.end(), [length](std::size_t& later) { later -= length; });
}

void TextIndex::clear() {
    m_bytes = {};
    m_starts = {0};
}

std::vector<quint32> TextIndex::find(QByteArrayView query, std::size_t first) const {
    std::string needle;
    m_fold.append(query, needle);

    std::vector<quint32> found;
    if (needle.empty()) {
        found.resize(size() - first);
        std::iota(found.begin(), found.end(), static_cast<quint32>(first));
        return found;
    }
    auto text = m_starts.begin() + static_cast<std::ptrdiff_t>(first);
    for (auto hit = findFrom(m_bytes, *text, needle); hit != std::string::npos;
         hit = findFrom(m_bytes, *text, needle)) {
        while (*text <= hit)
            ++text;
        found.push_back(static_cast<quint32>(text - m_starts.begin() - 1));
    }
    return found;
}

} // namespace tavrik
