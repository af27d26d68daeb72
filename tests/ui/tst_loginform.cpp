#include "account/AuthStore.h"
#include "base/MainQueue.h"
#include "mock-server/LocalService.h"
#include "services/HttpClient.h"
#include "support/FakeLinks.h"
#include "support/FakeSecureSlot.h"
#include "ui/account/LoginForm.h"

#include <QTest>

using namespace tavrik;
using namespace Qt::StringLiterals;

namespace {

/// The sign-in screen's form before a service.
struct Screen {
    test::LocalService service;
    MainQueue queue;
    HttpClient http{queue};
    fake::Slot slot;
    fake::Links links;
    AuthStore store{slot, http, queue, {.url = service.url(), .anonKey = "key"}};
    AccountModel account{store, links, u"Sara Ahmadi"_s};
    LoginForm form;

    Screen() {
        slot.finishReading();
        form.setProperty("account", QVariant::fromValue(&account));
    }

    void type(const QString& email, const QString& password) {
        form.setProperty("email", email);
        form.setProperty("password", password);
    }
    void script(int status, const QByteArray& body) {
        service.script({{.path = {}, .reply = {.status = status, .body = body}}});
    }
};

} // namespace

class LoginFormTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void submittable_data() {
        QTest::addColumn<QString>("email");
        QTest::addColumn<QString>("password");
        QTest::addColumn<bool>("expected");
        QTest::newRow("no address") << u""_s << u"secret"_s << false;
        QTest::newRow("five") << u"a@b"_s << u"12345"_s << false;
        QTest::newRow("spaces count") << u" "_s << u"      "_s << true;
        QTest::newRow("families are one")
            << u"a"_s << u"👨‍👩‍👧‍👦👨‍👩‍👧‍👦12"_s << false;
        QTest::newRow("six emoji") << u"a"_s << u"😀😀😀😀😀😀"_s << true;
    }

    void submittable() {
        QFETCH(QString, email);
        QFETCH(QString, password);
        Screen screen;
        screen.type(email, password);
        QTEST(screen.form.isSubmittable(), "expected");
    }

    void signsIn() {
        Screen screen;
        screen.type(u" sara@example.org "_s, u"secret"_s);
        screen.script(200, R"({"access_token":"a","refresh_token":"r","user":{"email":"sara@example.org"}})");
        screen.form.submit();
        QVERIFY(screen.form.isBusy());
        QVERIFY(!screen.form.isSubmittable());
        screen.form.submit();
        QTRY_VERIFY(screen.account.isSignedIn());
        QCOMPARE(screen.account.email(), u"sara@example.org"_s);
        QVERIFY(!screen.form.isBusy());
        QCOMPARE(screen.service.requests().size(), 1);
        QVERIFY(screen.service.requests().first().body.contains(R"(" sara@example.org ")"));
    }

    void survivesTheScreensEnd() {
        Screen screen;
        auto form = std::make_unique<LoginForm>();
        form->setProperty("account", QVariant::fromValue(&screen.account));
        form->setProperty("email", u"a@b"_s);
        form->setProperty("password", u"secret"_s);
        screen.script(200, R"({"access_token":"a","refresh_token":"r"})");
        form->submit();
        form.reset();
        QTRY_VERIFY(screen.account.isSignedIn());
    }
};

QTEST_GUILESS_MAIN(LoginFormTest)
#include "tst_loginform.moc"
