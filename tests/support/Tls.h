#pragma once

#include <QProcess>
#include <QSslConfiguration>
#include <QTemporaryDir>

namespace tavrik::test {

/// A certificate for 127.0.0.1 that signs itself, and its key, made for this run.
class Certificate {
public:
    Certificate() {
        QProcess openssl;
        openssl.start(QStringLiteral("openssl"),
                      QStringLiteral("req -x509 -newkey rsa:2048 -nodes -subj /CN=127.0.0.1 -addext "
                                     "subjectAltName=IP:127.0.0.1 -keyout %1 -out %2")
                          .arg(keyFile(), file())
                          .split(' '));
        openssl.waitForFinished();
    }

    QString file() const { return m_folder.filePath(QStringLiteral("certificate.pem")); }
    QString keyFile() const { return m_folder.filePath(QStringLiteral("key.pem")); }

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
