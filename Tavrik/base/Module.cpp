#include "base/Module.h"

#include <QCoreApplication>
#include <QLibrary>

namespace tavrik {

QFunctionPointer moduleFunction(const QString& module, const char* name) {
    return QLibrary(QCoreApplication::applicationDirPath() + QStringLiteral("/" TAVRIK_MODULES "/") + module +
                    QStringLiteral(".so"))
        .resolve(name);
}

} // namespace tavrik
