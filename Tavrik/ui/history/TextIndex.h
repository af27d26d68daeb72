#pragma once

#include "ui/history/SearchFold.h"

#include <QByteArrayView>

#include <string>
#include <vector>

namespace tavrik {

/// Finds the texts that contain a word, fast enough for every keystroke over a hundred thousand texts: their
/// search forms lie one behind the other in one piece of memory. Texts are known by their position.
class TextIndex {
public:
    explicit TextIndex(SearchFold fold);

    /// How many texts there are.
    std::size_t size() const;

    void insert(std::size_t position, QByteArrayView utf8);
    void remove(std::size_t position);

    /// Forgets every text and gives the memory back.
    void clear();

    /// The positions, from `first` on, of the texts that contain `query`, ascending.
    std::vector<quint32> find(QByteArrayView query, std::size_t first = 0) const;

private:
    SearchFold m_fold;
    std::string m_bytes;
    /// Where each text begins in m_bytes, and where the next one would.
    std::vector<std::size_t> m_starts;
};

} // namespace tavrik
