#include "ui/history/SearchFold.h"

#include <unicode/bytestream.h>
#include <unicode/normalizer2.h>
#include <unicode/stringpiece.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace tavrik {

namespace {

using namespace std::string_view_literals;

/// Nothing but ASCII in lower case comes out of ASCII, at a fraction of the general way's cost.
void appendAscii(QByteArrayView text, std::string& form) {
    const auto start = form.size();
    form.resize(start + static_cast<std::size_t>(text.size()));
    std::ranges::transform(text, form.begin() + static_cast<std::ptrdiff_t>(start),
                           [](char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c | 0x20 : c); });
}

/// The languages in which I and İ are two letters.
std::string withTurkicCase(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == 'I') {
            result += "ı";
        } else if (text.substr(i).starts_with("İ"sv)) {
            result += 'i';
            ++i;
        } else {
            result += text[i];
        }
    }
    return result;
}

/// Every form here takes two bytes, so the letters are exchanged in place.
void unifyPersianLetters(std::string& form, std::size_t from) {
    for (std::size_t i = from; i + 1 < form.size(); ++i) {
        if (form[i] != '\xD9')
            continue;
        const auto letter = std::string_view(form).substr(i, 2);
        if (letter == "ي"sv || letter == "ى"sv)
            form.replace(i, 2, "ی");
        else if (letter == "ك"sv)
            form.replace(i, 2, "ک");
    }
}

} // namespace

SearchFold::SearchFold(const std::string& locale)
    : m_turkic(locale.starts_with("tr") || locale.starts_with("az")) {}

void SearchFold::append(QByteArrayView utf8, std::string& form) const {
    const bool ascii = std::ranges::all_of(utf8, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (ascii && !m_turkic)
        return appendAscii(utf8, form);

    std::string_view text(utf8.data(), static_cast<std::size_t>(utf8.size()));
    std::string turkic;
    if (m_turkic)
        text = turkic = withTurkicCase(text);

    UErrorCode status = U_ZERO_ERROR;
    const auto* normalizer = icu::Normalizer2::getNFKCCasefoldInstance(status);
    // The rules are part of the ICU library itself.
    if (U_FAILURE(status))
        std::abort();
    const auto start = form.size();
    icu::StringByteSink<std::string> sink(&form);
    normalizer->normalizeUTF8(0, text, sink, nullptr, status);
    unifyPersianLetters(form, start);
}

} // namespace tavrik
