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

/// Trusts an authority for as long as it lives.
class Trust {
public:
    explicit Trust(const QList<QSslCertificate>& authorities) {
        auto configuration = m_before;
        configuration.addCaCertificates(authorities);
        QSslConfiguration::setDefaultConfiguration(configuration);
    }
    Trust(const Trust&) = delete;
    Trust& operator=(const Trust&) = delete;
    ~Trust() { QSslConfiguration::setDefaultConfiguration(m_before); }

private:
    const QSslConfiguration m_before = QSslConfiguration::defaultConfiguration();
};

} // namespace tavrik::test
