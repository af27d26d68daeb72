#include "platform/portal/Gsettings.h"

#include <QProcess>

namespace tavrik {

using namespace Qt::StringLiterals;

void runGsettings(const QStringList& arguments, QObject& owner,
                  const std::function<void(const std::optional<QString>&)>& done) {
    auto* process = new QProcess(&owner);
    QObject::connect(process, &QProcess::errorOccurred, process,
                     [process, done](QProcess::ProcessError error) {
                         if (error != QProcess::FailedToStart)
                             return;
                         process->deleteLater();
                         done(std::nullopt);
                     });
    QObject::connect(process, &QProcess::finished, process, [process, done](int status) {
        process->deleteLater();
        if (status == 0)
            done(QString::fromUtf8(process->readAllStandardOutput()));
        else
            done(std::nullopt);
    });
    process->setStandardErrorFile(QProcess::nullDevice());
    process->start(u"gsettings"_s, arguments, QIODevice::ReadOnly);
}

} // namespace tavrik
