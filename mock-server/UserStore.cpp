#include "mock-server/UserStore.h"

#include "base/PrivateFiles.h"
#include "mock-server/Secrets.h"

#include <QCryptographicHash>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace tavrik::mock {

namespace {

constexpr qint64 maximumFileSize = qint64{64} * 1024 * 1024;

/// Random tokens need no salt.
QByteArray tokenHash(const QByteArray& token) {
    return QCryptographicHash::hash(token, QCryptographicHash::Sha256).toHex();
}

QJsonObject toObject(const User& user) {
    return {{u"id"_s, user.id},
            {u"email"_s, user.email},
            {u"passwordHash"_s, QString::fromLatin1(user.passwordHash)},
            {u"confirmed"_s, user.confirmed},
            {u"createdAt"_s, user.createdAt}};
}

User toUser(const QJsonObject& object) {
    return {.id = object[u"id"_s].toString(),
            .email = object[u"email"_s].toString(),
            .passwordHash = object[u"passwordHash"_s].toString().toLatin1(),
            .confirmed = object[u"confirmed"_s].toBool(),
            .createdAt = object[u"createdAt"_s].toString()};
}

} // namespace

UserStore::UserStore() {
    m_data.secret = randomToken();
}

Result<UserStore> UserStore::open(const QString& folder) {
    UserStore store;
    if (!makePrivateFolder(folder))
        return std::unexpected(Error{u"cannot make the folder "_s + folder});
    store.m_file = QDir(folder).filePath(u"accounts.json"_s);
    if (QFileInfo::exists(store.m_file)) {
        narrowToOwner(store.m_file);
        auto data = parse(readRegularFile(store.m_file, maximumFileSize).value_or(QByteArray()));
        if (!data)
            return std::unexpected(data.error());
        store.m_data = std::move(*data);
    } else if (!store.change(store.m_data)) {
        return std::unexpected(Error{u"cannot write "_s + store.m_file});
    }
    return store;
}

const User* UserStore::withEmail(const QString& email) const {
    const auto found = std::ranges::find(m_data.users, email, &User::email);
    return found == m_data.users.end() ? nullptr : &*found;
}

const User* UserStore::withId(const QString& id) const {
    const auto found = m_data.users.constFind(id);
    return found == m_data.users.constEnd() ? nullptr : &*found;
}

bool UserStore::put(const User& user) {
    auto next = m_data;
    next.users[user.id] = user;
    return change(std::move(next));
}

bool UserStore::addRefreshToken(const QByteArray& token, const Session& session) {
    auto next = m_data;
    next.refreshTokens[tokenHash(token)] = session;
    return change(std::move(next));
}

std::optional<Session> UserStore::replaceRefreshToken(const QByteArray& old, const QByteArray& token) {
    auto next = m_data;
    const auto session = next.refreshTokens.take(tokenHash(old));
    if (session.id.isEmpty())
        return {};
    next.refreshTokens[tokenHash(token)] = session;
    return change(std::move(next)) ? std::optional(session) : std::nullopt;
}

Result<UserStore::Data> UserStore::parse(const QByteArray& json) {
    const auto object = QJsonDocument::fromJson(json).object();
    Data data{.secret = object[u"secret"_s].toString().toLatin1(), .users = {}, .refreshTokens = {}};
    if (data.secret.isEmpty())
        return std::unexpected(
            Error{u"accounts.json cannot be read; move it away to start with no accounts"_s});
    for (const auto users = object[u"users"_s].toArray(); const auto& entry : users) {
        const auto user = toUser(entry.toObject());
        data.users[user.id] = user;
    }
    const auto tokens = object[u"refreshTokens"_s].toObject();
    for (auto token = tokens.begin(); token != tokens.end(); ++token)
        data.refreshTokens[token.key().toLatin1()] = {.id = (*token)[u"id"_s].toString(),
                                                      .userId = (*token)[u"userId"_s].toString()};
    return data;
}

QByteArray UserStore::toJson(const Data& data) {
    QJsonArray users;
    for (const auto& user : data.users)
        users.append(toObject(user));
    QJsonObject tokens;
    for (auto token = data.refreshTokens.begin(); token != data.refreshTokens.end(); ++token)
        tokens[QString::fromLatin1(token.key())] =
            QJsonObject{{u"id"_s, token->id}, {u"userId"_s, token->userId}};
    return QJsonDocument(QJsonObject{{u"secret"_s, QString::fromLatin1(data.secret)},
                                     {u"users"_s, users},
                                     {u"refreshTokens"_s, tokens}})
        .toJson();
}

bool UserStore::change(Data next) {
    if (!m_file.isEmpty()) {
        QSaveFile file(m_file);
        if (!file.open(QIODevice::WriteOnly))
            return false;
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        file.write(toJson(next));
        if (!file.commit())
            return false;
    }
    m_data = std::move(next);
    return true;
}

} // namespace tavrik::mock
