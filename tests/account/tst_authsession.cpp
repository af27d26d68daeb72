#include "account/AuthSession.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace tavrik;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr AuthSession::Time reference = std::chrono::sys_days{2001y / 1 / 1};

/// As it is stored on users' machines.
const QByteArray stored =
    R"({"accessToken":"access","email":"ر@example.org","expiresAt":800000000.5,"refreshToken":"\"r\""})";
const AuthSession session{u"access"_s, u"\"r\""_s, reference + AuthSession::Seconds(800000000.5),
                          u"ر@example.org"_s};

} // namespace

class AuthSessionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isStoredAndRead() {
        QCOMPARE(session.toJson(), stored);
        QVERIFY(AuthSession::fromJson(stored) == session);
    }

    void isReadOnlyWhole() {
        const auto whole = QJsonDocument::fromJson(stored).object();
        for (const auto& member : whole.keys()) {
            for (const QJsonValue& other :
                 {QJsonValue(QJsonValue::Undefined), QJsonValue(), QJsonValue(true)}) {
                auto changed = whole;
                changed.insert(member, other);
                QVERIFY2(!AuthSession::fromJson(QJsonDocument(changed).toJson()), qPrintable(member));
            }
        }
        for (const auto& broken : {"[" + stored + "]", stored.chopped(1), QByteArray()})
            QVERIFY2(!AuthSession::fromJson(broken), broken.constData());
    }

    void isFreshForMoreThanAMinute() {
        const auto left = [](double seconds) {
            return session.expiresAt - AuthSession::Seconds(seconds);
        };
        QVERIFY(session.isFresh(left(60.5)));
        QVERIFY(!session.isFresh(left(60)));
        QVERIFY(!session.isFresh(left(-8e8)));
    }
};

QTEST_GUILESS_MAIN(AuthSessionTest)
#include "tst_authsession.moc"
