#include "account/CallbackUrl.h"

#include <QTest>

using namespace tavrik;
using namespace Qt::StringLiterals;

class CallbackUrlTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void ignoresOtherUrls() {
        for (const auto* const url : {"", "tavrik://auth-callback?access_token=a&refresh_token=r",
                                      "Tavrik://auth-callback#access_token=a&refresh_token=r",
                                      "tavrikx://auth-callback#access_token=a&refresh_token=r"})
            QVERIFY2(!parseCallbackUrl(url), url);
    }

    void tokens() {
        const std::tuple<QByteArray, QString, QString> rows[]{
            {"refresh_token=r&token_type=bearer&access_token=a", u"a"_s, u"r"_s},
            {"x&=y&z=&access_token=a&=&refresh_token=r&error=denied", u"a"_s, u"r"_s},
            {"access_token=%zz&access_token=a&refresh_token=r", u"a"_s, u"r"_s},
            {"access_token=a==&refresh_token==r", u"a=="_s, u"=r"_s},
            {"access_token=a+b&refresh_token=%2B+", u"a b"_s, u"+ "_s},
            {"access_token=%61%26%3d%2541&refresh_token=%e2%80%94", u"a&=%41"_s, u"—"_s},
            {"access_token=%EF%BB%BFa&refresh_token=r#", u"\uFEFFa"_s, u"r#"_s}};
        for (const auto& [fragment, access, refresh] : rows) {
            const auto outcome = parseCallbackUrl("tavrik://else/where?x=1#" + fragment);
            QVERIFY2(outcome && *outcome, fragment.constData());
            QCOMPARE((*outcome)->accessToken, access);
            QCOMPARE((*outcome)->refreshToken, refresh);
        }
    }

    void lifetimes() {
        const std::pair<QByteArray, double> rows[]{
            {"%37200.5", 7200.5}, {"-5", -5},    {"", 3600},       {"+7", 3600},
            {"7200s", 3600},      {"inf", 3600}, {"%DB%B7", 3600}, {"7200&expires_in=%", 3600}};
        for (const auto& [text, seconds] : rows) {
            const auto outcome =
                parseCallbackUrl("tavrik:#access_token=a&refresh_token=r&expires_in=" + text);
            QVERIFY2(outcome && *outcome, text.constData());
            QCOMPARE((*outcome)->lifetime.count(), seconds);
        }
    }

    void failures() {
        const auto unknown = u"Google sign-in failed."_s;
        const std::pair<QByteArray, QString> rows[]{
            {"error=server_error&error_description=Email+link+is+invalid", u"Email link is invalid"_s},
            {"access_token=a&error=access_denied&error_description=%", u"access_denied"_s},
            {"access_token=&refresh_token=r", unknown},
            {"access%5Ftoken=a&refresh_token=r", unknown},
            {"access_token=a%0D%0AX:+y&refresh_token=r&error_description=other", unknown}};
        for (const auto& [fragment, message] : rows) {
            const auto outcome = parseCallbackUrl("tavrik://auth-callback#" + fragment);
            QVERIFY2(outcome && !*outcome, fragment.constData());
            QCOMPARE(outcome->error().description, message);
        }
        for (const auto* bad : {"%", "%4", "a%zz", "%0x41", "%+1", "%FF", "%C3", "%ED%A0%80", "a\xc3"})
            QVERIFY2(!*parseCallbackUrl("tavrik:#refresh_token=r&access_token="_ba + bad), bad);
    }
};

QTEST_GUILESS_MAIN(CallbackUrlTest)
#include "tst_callbackurl.moc"
