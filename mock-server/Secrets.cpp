#include "mock-server/Secrets.h"

#include <QList>
#include <QMessageAuthenticationCode>
#include <QPasswordDigestor>
#include <QRandomGenerator>

#include <array>

namespace tavrik::mock {

namespace {

constexpr auto urlSafe = QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals;

/// PBKDF2 with HMAC-SHA-512.
QByteArray derive(const QByteArray& password, const QByteArray& salt) {
    constexpr int iterations = 210'000;
    constexpr quint64 length = 32;
    return QPasswordDigestor::deriveKeyPbkdf2(QCryptographicHash::Sha512, password, salt, iterations, length)
        .toBase64(urlSafe);
}

} // namespace

QByteArray hashPassword(const QByteArray& password) {
    const auto salt = randomToken();
    return salt + '.' + derive(password, salt);
}

bool passwordMatches(const QByteArray& password, const QByteArray& hash) {
    const auto salt = hash.left(hash.indexOf('.'));
    return !hash.isEmpty() && hash == salt + '.' + derive(password, salt);
}

QByteArray randomToken() {
    std::array<quint32, 8> bits{};
    QRandomGenerator::system()->fillRange(bits.data(), bits.size());
    return QByteArray::fromRawData(reinterpret_cast<const char*>(bits.data()), sizeof bits).toBase64(urlSafe);
}

QByteArray signedToken(const QByteArray& claims, const QByteArray& secret) {
    const auto content = QByteArrayLiteral(R"({"alg":"HS256","typ":"JWT"})").toBase64(urlSafe) + '.' +
                         claims.toBase64(urlSafe);
    const auto signature = QMessageAuthenticationCode::hash(content, secret, QCryptographicHash::Sha256);
    return content + '.' + signature.toBase64(urlSafe);
}

std::optional<QByteArray> verifiedClaims(const QByteArray& token, const QByteArray& secret) {
    const auto claims = QByteArray::fromBase64(token.split('.').value(1), urlSafe);
    return token == signedToken(claims, secret) ? std::optional(claims) : std::nullopt;
}

} // namespace tavrik::mock
