#include "ui/history/SearchIndex.h"

#include "ui/history/FoldForSearch.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace tavrik {

namespace {

/// Ends each text. It is not a byte of UTF-8, so no match spans two texts.
constexpr char separator = '\xFF';

} // namespace

SearchIndex::SearchIndex(std::string locale) : m_locale(std::move(locale)) {}

std::size_t SearchIndex::size() const {
    return m_starts.size() - 1;
}

void SearchIndex::reserve(std::size_t texts, std::size_t bytes) {
    m_starts.reserve(texts + 1);
    // Each gets a separator, and some texts become longer when they are folded.
    m_texts.reserve(bytes + texts + bytes / 16);
}

void SearchIndex::insert(std::size_t position, QByteArrayView utf8) {
    const auto start = m_starts[position];
    const auto text = foldForSearch(utf8, m_locale) + separator;
    m_texts.insert(start, text);
    const auto at = m_starts.insert(m_starts.begin() + static_cast<std::ptrdiff_t>(position), start);
    std::for_each(at + 1, m_starts.end(), [&text](std::size_t& later) { later += text.size(); });
}

void SearchIndex::remove(std::size_t position) {
    const auto start = m_starts[position];
    const auto length = m_starts[position + 1] - start;
    m_texts.erase(start, length);
    const auto at = m_starts.erase(m_starts.begin() + static_cast<std::ptrdiff_t>(position));
    std::for_each(at, m_starts.end(), [length](std::size_t& later) { later -= length; });
}

void SearchIndex::clear() {
    m_texts = {};
    m_starts = {0};
}

std::vector<quint32> SearchIndex::find(QByteArrayView query, std::size_t first) const {
    const auto needle = foldForSearch(query, m_locale);
    std::vector<quint32> found;
    if (needle.empty()) {
        found.resize(size() - first);
        std::iota(found.begin(), found.end(), static_cast<quint32>(first));
        return found;
    }
    auto start = m_starts.begin() + static_cast<std::ptrdiff_t>(first);
    for (auto match = m_texts.find(needle, *start); match != std::string::npos;
         match = m_texts.find(needle, *start)) {
        start = std::upper_bound(start, m_starts.end(), match);
        found.push_back(static_cast<quint32>(start - m_starts.begin() - 1));
    }
    return found;
}

} // namespace tavrik
