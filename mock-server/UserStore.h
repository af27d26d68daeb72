#pragma once

#include "base/Result.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <optional>

namespace tavrik::mock {

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

/// What a refresh token goes on with.
struct Session {
    QString id;
    QString userId;
};

/// Accounts and their valid refresh tokens. In memory, and if it was opened, in a file, which holds hashes
/// of passwords and refresh tokens instead of the originals. Changes return false, and are undone, when they
/// cannot be saved.
class UserStore {
public:
    /// In memory only.
    UserStore();

    /// Stored in `accounts.json` of the folder, which is created if needed. An error when the file cannot be
    /// read.
    static Result<UserStore> open(const QString& folder);

    const User* withEmail(const QString& email) const;
    const User* withId(const QString& id) const;

    /// Adds an account or replaces the one of the same id.
    [[nodiscard]] bool put(const User& user);

    /// Makes a token valid for one replaceRefreshToken().
    [[nodiscard]] bool addRefreshToken(const QByteArray& token, const Session& session);

    /// Replaces a valid token and returns its session; nothing for an unknown one.
    std::optional<Session> replaceRefreshToken(const QByteArray& old, const QByteArray& token);

    /// Signs access tokens.
    const QByteArray& secret() const { return m_data.secret; }

private:
    struct Data {
        QByteArray secret;
        QHash<QString, User> users;
        /// By the hash of the token.
        QHash<QByteArray, Session> refreshTokens;
    };

    static Result<Data> parse(const QByteArray& json);
    static QByteArray toJson(const Data& data);

    bool change(Data next);

    QString m_file;
    Data m_data;
};

} // namespace tavrik::mock
