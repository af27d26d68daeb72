#pragma once

#include <QString>

namespace tavrik {

/// The full name in the user's entry of the account database (GECOS), else the login name.
QString linuxUserName();

/// The name in an entry's GECOS field: what comes before the first comma, an ampersand standing for the
/// capitalised login. The login itself if nothing is left.
QString nameFromGecos(const QString& gecos, const QString& login);

} // namespace tavrik
