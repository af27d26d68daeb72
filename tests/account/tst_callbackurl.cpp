#include "account/CallbackUrl.h"

#include <QTest>

using namespace tavrik;
using namespace Qt::StringLiterals;

class CallbackUrlTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void notOurs_data() {
        QTest::addColumn<QByteArray>("url");
        const auto row = [](const char* name, const QByteArray& url) {
            QTest::newRow(name) << url;
        };
        row("empty", "");
        row("scheme only", "tavrik:");
        row("no fragment", "tavrik://auth-callback");
        row("tokens in the query", "tavrik://auth-callback?access_token=a&refresh_token=r");
        row("error in the query", "tavrik://auth-callback?error=access_denied");
        row("another scheme", "https://auth-callback#access_token=a&refresh_token=r");
        row("capitals", "Tavrik://auth-callback#access_token=a&refresh_token=r");
        row("a longer scheme", "tavrikx://auth-callback#access_token=a&refresh_token=r");
        row("a space before", " tavrik://auth-callback#access_token=a&refresh_token=r");
        row("an escaped scheme", "%74avrik://auth-callback#access_token=a&refresh_token=r");
        row("a relative URL", "#access_token=a&refresh_token=r");
        row("an escaped hash", "tavrik://auth-callback%23access_token=a&refresh_token=r");
    }

    void notOurs() {
        QFETCH(QByteArray, url);
        QVERIFY(!parseCallbackUrl(url));
    }

    void tokens_data() {
        QTest::addColumn<QByteArray>("fragment");
        QTest::addColumn<QString>("access");
        QTest::addColumn<QString>("refresh");
        QTest::addColumn<double>("lifetime");
        const auto row = [](const char* name, const QByteArray& fragment, double lifetime = 3600,
                            const QString& access = u"a"_s, const QString& refresh = u"r"_s) {
            QTest::newRow(name) << fragment << access << refresh << lifetime;
        };
        row("both", "access_token=a&refresh_token=r");
        row("other order, others between",
            "refresh_token=r&token_type=bearer&provider_token=x&access_token=a");
        row("empty pieces", "&&access_token=a&&refresh_token=r&");
        row("pieces that do not count", "x&=y&z=&access_token=a&=&refresh_token=r");
        row("an error beside them", "access_token=a&refresh_token=r&error=denied&error_description=d");

        row("lifetime", "access_token=a&refresh_token=r&expires_in=7200", 7200);
        row("fractional lifetime", "access_token=a&refresh_token=r&expires_in=0.5", 0.5);
        row("exponent", "access_token=a&refresh_token=r&expires_in=1e3", 1000);
        row("negative lifetime", "access_token=a&refresh_token=r&expires_in=-5", -5);
        row("escaped lifetime", "access_token=a&refresh_token=r&expires_in=%37200", 7200);
        row("a word", "access_token=a&refresh_token=r&expires_in=abc");
        row("not in full", "access_token=a&refresh_token=r&expires_in=7200s");
        row("a space before", "access_token=a&refresh_token=r&expires_in=+7200");
        row("a space after", "access_token=a&refresh_token=r&expires_in=7200+");
        row("hexadecimal", "access_token=a&refresh_token=r&expires_in=0x10");
        row("a comma", "access_token=a&refresh_token=r&expires_in=7,5");
        row("Persian digits", "access_token=a&refresh_token=r&expires_in=%DB%B7");
        row("infinite", "access_token=a&refresh_token=r&expires_in=inf");
        row("not a number", "access_token=a&refresh_token=r&expires_in=nan");
        row("beyond any number", "access_token=a&refresh_token=r&expires_in=1e400");
        row("malformed after well-formed", "access_token=a&refresh_token=r&expires_in=7200&expires_in=%");

        row("later wins", "access_token=x&access_token=a&refresh_token=r");
        row("malformed, then well-formed", "access_token=%zz&access_token=a&refresh_token=r");
        row("equals sign in a value", "access_token=a==&refresh_token==r", 3600, u"a=="_s, u"=r"_s);
        row("plus is a space", "access_token=a+b&refresh_token=%2B+", 3600, u"a b"_s, u"+ "_s);
        row("escapes", "access_token=%61%26%3d%25&refresh_token=%e2%80%94", 3600, u"a&=%"_s, u"—"_s);
        row("decoded once", "access_token=%2541&refresh_token=r", 3600, u"%41"_s);
        row("UTF-8 as it is", "access_token=\xe2\x80\x94&refresh_token=r", 3600, u"—"_s);
        row("a byte order mark", "access_token=%EF%BB%BFa&refresh_token=r", 3600, u"\uFEFFa"_s);
        row("a second hash", "access_token=a#&refresh_token=r", 3600, u"a#"_s);
        row("a question mark", "access_token=a?&refresh_token=r", 3600, u"a?"_s);
        row("a null character", "access_token=a%00&refresh_token=r", 3600, u"a"_s + QChar(u'\0'));
    }

    void tokens() {
        QFETCH(QByteArray, fragment);
        QFETCH(QString, access);
        QFETCH(QString, refresh);
        QFETCH(double, lifetime);
        for (const auto* start : {"tavrik://auth-callback#", "tavrik:#", "tavrik://else/where?x=1#"}) {
            const auto outcome = parseCallbackUrl(start + fragment);
            QVERIFY(outcome && *outcome);
            QCOMPARE((*outcome)->accessToken, access);
            QCOMPARE((*outcome)->refreshToken, refresh);
            QCOMPARE((*outcome)->lifetime.count(), lifetime);
        }
    }

    void failures_data() {
        QTest::addColumn<QByteArray>("fragment");
        QTest::addColumn<QString>("message");
        const auto row = [](const char* name, const QByteArray& fragment,
                            const QString& message = u"Google sign-in failed."_s) {
            QTest::newRow(name) << fragment << message;
        };
        row("description", "error=server_error&error_description=Email+link+is+invalid",
            u"Email link is invalid"_s);
        row("error alone", "error=access_denied", u"access_denied"_s);
        row("malformed description", "error=access_denied&error_description=%", u"access_denied"_s);
        row("empty description", "error=access_denied&error_description=", u"access_denied"_s);
        row("malformed error", "error=%4");
        row("one token and an error", "access_token=a&error=access_denied", u"access_denied"_s);
        row("nothing", "");
        row("only separators", "&=&&=");
        row("access token alone", "access_token=a");
        row("refresh token alone", "refresh_token=r&expires_in=1");
        row("empty token", "access_token=&refresh_token=r");
        row("escaped name", "access%5Ftoken=a&refresh_token=r");
        row("name in capitals", "Access_Token=a&refresh_token=r");
        row("nothing before the equals sign", "=access_token=a&refresh_token=r");
        for (const auto* bad : {"%", "%4", "%zz", "a%zz", "%0x41", "%+1", "%-1", "% 1", "%\xc2", "%FF", "%C3",
                                "%C3(", "%ED%A0%80", "%C0%AF", "%F4%90%80%80", "\xff", "a\xc3"})
            row(bad, "access_token=a&access_token="_ba + bad + "&refresh_token=r");
    }

    void failures() {
        QFETCH(QByteArray, fragment);
        const auto outcome = parseCallbackUrl("tavrik://auth-callback#" + fragment);
        QVERIFY(outcome && !*outcome);
        QTEST(outcome->error().description, "message");
    }
};

QTEST_GUILESS_MAIN(CallbackUrlTest)
#include "tst_callbackurl.moc"
