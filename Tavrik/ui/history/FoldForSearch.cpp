#include "ui/history/FoldForSearch.h"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/stringpiece.h>

#include <string_view>

namespace tavrik {

namespace {

// In these languages I and İ are different letters.
bool hasDottedCapitalI(std::string_view locale) {
    return locale.starts_with("tr") || locale.starts_with("az");
}

// Both letters take two bytes.
void replaceLetter(std::string& text, std::string_view from, std::string_view to) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

} // namespace

std::string foldForSearch(QByteArrayView text, const std::string& locale) {
    icu::StringPiece source(text.data(), static_cast<int32_t>(text.size()));
    UErrorCode status = U_ZERO_ERROR;
    std::string turkic;
    if (hasDottedCapitalI(locale)) {
        icu::StringByteSink<std::string> sink(&turkic);
        icu::CaseMap::utf8Fold(U_FOLD_CASE_EXCLUDE_SPECIAL_I, source, sink, nullptr, status);
        source = turkic;
    }
    std::string folded;
    icu::StringByteSink<std::string> sink(&folded, source.size());
    // The normalizer's data is part of the ICU library: this cannot fail.
    icu::Normalizer2::getNFKCCasefoldInstance(status)->normalizeUTF8(0, source, sink, nullptr, status);
    replaceLetter(folded, "ي", "ی");
    replaceLetter(folded, "ى", "ی");
    replaceLetter(folded, "ك", "ک");
    return folded;
}

} // namespace tavrik
