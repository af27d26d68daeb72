#pragma once

#include <QByteArrayView>

#include <string>

namespace tavrik {

/// Brings texts into the form in which search compares them: without case, with one spelling for characters
/// that look the same (accents, ligatures, the Arabic and the Persian ye and kaf), without the invisible
/// joiners.
class SearchFold {
public:
    /// `locale` as in "tr_TR": some languages have case rules of their own.
    explicit SearchFold(const std::string& locale);

    /// Appends the form of a UTF-8 text. The result is UTF-8 again.
    void append(QByteArrayView utf8, std::string& form) const;

private:
    bool m_turkic;
};

} // namespace tavrik
