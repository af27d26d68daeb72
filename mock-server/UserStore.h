#pragma once

#include "base/Result.h"

#include <QByteArray>
#include <QHash>
#include <QString>

namespace tavrik::backend {

struct User {
    QString id;
    /// In lower case.
    QString email;
    /// Empty for an account without a password.
    QByteArray passwordHash = {};
    bool confirmed = false;
    /// ISO 8601, UTC.
    QString createdAt = {};

    bool operator==(const User&) const = default;
};

/// Who has an account, and which refresh tokens are good. Kept in memory and, if it was opened, in a file,
/// which holds neither passwords nor refresh tokens but their hashes. Changes return false when they could
/// not be saved; they are then undone.
class UserStore {
public:
    /// Forgets everything at its end.
    UserStore();

    /// Kept in `accounts.json` of the folder, which is made if needed. An error when that cannot be read.
    static Result<UserStore> open(const QString& folder);

    const User* withEmail(const QString& email) const;
    const User* withId(const QString& id) const;

    /// Adds an account or replaces the one of the same id.
    [[nodiscard]] bool put(const User& user);

    /// Makes a token good for one replaceRefreshToken().
    [[nodiscard]] bool addRefreshToken(const QByteArray& token, const QString& userId);

    /// Whose the old token is, which is good no longer; the new one is. Nobody for an unknown one.
    const User* replaceRefreshToken(const QByteArray& old, const QByteArray& token);

    /// What access tokens are signed with.
    const QByteArray& secret() const { return m_data.secret; }

private:
    struct Data {
        QByteArray secret;
        QHash<QString, User> users;
        /// Ids of users by the hash of the token.
        QHash<QByteArray, QString> refreshTokens;
    };

    static Result<Data> parse(const QByteArray& json);
    static QByteArray toJson(const Data& data);

    bool change(Data next);

    QString m_file;
    Data m_data;
};

} // namespace tavrik::backend
