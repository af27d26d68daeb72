#include "platform/linux/UserName.h"

#include <pwd.h>
#include <unistd.h>

namespace tavrik {

QString nameFromGecos(const QString& gecos, const QString& login) {
    auto name = gecos.section(u',', 0, 0).trimmed();
    name.replace(u'&', login.left(1).toUpper() + login.mid(1));
    return name.isEmpty() ? login : name;
}

QString linuxUserName() {
    const auto* entry = getpwuid(getuid());
    return entry ? nameFromGecos(QString::fromLocal8Bit(entry->pw_gecos),
                                 QString::fromLocal8Bit(entry->pw_name))
                 : qEnvironmentVariable("USER");
}

} // namespace tavrik
