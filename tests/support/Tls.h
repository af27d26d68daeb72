#pragma once

#include <QFile>
#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
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

    QList<QSslCertificate> chain() const { return QSslCertificate::fromPath(file()); }

    /// Lets this process's clients accept it.
    void trust() const {
        auto configuration = QSslConfiguration::defaultConfiguration();
        configuration.addCaCertificates(chain());
        QSslConfiguration::setDefaultConfiguration(configuration);
    }

    /// For a server in this process.
    QSslConfiguration serverConfiguration() const {
        QSslConfiguration configuration;
        configuration.setLocalCertificateChain(chain());
        QFile key(keyFile());
        if (key.open(QIODevice::ReadOnly))
            configuration.setPrivateKey(QSslKey(&key, QSsl::Rsa));
        return configuration;
    }

private:
    QTemporaryDir m_folder;
};

} // namespace tavrik::test
