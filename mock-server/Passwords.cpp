#include "mock-server/Passwords.h"

#include <QRandomGenerator>

#include <crypt.h>

#include <array>
#include <memory>

namespace tavrik::backend {

namespace {

QByteArray crypted(const QByteArray& password, const QByteArray& setting) {
    const auto scratch = std::make_unique<crypt_data>();
    const char* hash =
        ::crypt_rn(password.constData(), setting.constData(), scratch.get(), sizeof(crypt_data));
    return hash;
}

} // namespace

QByteArray hashPassword(const QByteArray& password) {
    // yescrypt at the cost that the library itself chooses; the salt is in the setting.
    std::array<char, CRYPT_GENSALT_OUTPUT_SIZE> setting{};
    if (!::crypt_gensalt_rn("$y$", 0, nullptr, 0, setting.data(), setting.size()))
        return {};
    return crypted(password, setting.data());
}

bool passwordMatches(const QByteArray& password, const QByteArray& hash) {
    return !hash.isEmpty() && crypted(password, hash) == hash;
}

QByteArray randomToken() {
    std::array<quint32, 8> bits{};
    QRandomGenerator::system()->fillRange(bits.data(), bits.size());
    return QByteArray::fromRawData(reinterpret_cast<const char*>(bits.data()), sizeof bits)
        .toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

} // namespace tavrik::backend
