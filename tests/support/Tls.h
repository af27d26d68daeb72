#pragma once

#include "support/Command.h"

#include <QSslConfiguration>
#include <QTemporaryDir>

namespace tavrik::test {

using namespace Qt::StringLiterals;

/// A certificate for 127.0.0.1 that signs itself, and its key, made for this run.
class Certificate {
public:
    Certificate() {
        output(u"openssl req -x509 -newkey rsa:2048 -nodes -subj /CN=127.0.0.1 "
               "-addext subjectAltName=IP:127.0.0.1 -keyout %1 -out %2"_s.arg(keyFile(), file()));
    }

    QString file() const { return m_folder.filePath(u"certificate.pem"_s); }
    QString keyFile() const { return m_folder.filePath(u"key.pem"_s); }

    /// Lets this process's clients accept it.
    void trust() const {
        auto configuration = QSslConfiguration::defaultConfiguration();
        configuration.addCaCertificates(file());
        QSslConfiguration::setDefaultConfiguration(configuration);
    }

private:
    QTemporaryDir m_folder;
};

} // namespace tavrik::test
