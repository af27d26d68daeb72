#pragma once

#include <QByteArrayView>

#include <string>

namespace tavrik {

/// A UTF-8 text in the form in which search compares texts, UTF-8 again: case-folded by the rules of `locale`
/// ("tr_TR"), compatibility-normalized, without invisible joiners, and with the Arabic letters ye and kaf as
/// the Persian ones.
std::string foldForSearch(QByteArrayView text, const std::string& locale);

} // namespace tavrik
