#include "backend/LocalService.h"
#include "base/HttpClient.h"
#include "base/MainQueue.h"
#include "platform/Alerts.h"
#include "updates/ReleaseVersion.h"
#include "updates/UpdateChecker.h"

#include <QTest>

using namespace tavrik;

namespace {

/// Answers nothing by itself; keeps what was shown.
class ShownAlerts : public Alerts {
public:
    void show(const Alert& alert, std::function<void(int)>) override {
        shown << alert.messageText + "|" + alert.informativeText + "|" + alert.buttons.join(u',');
    }
    QStringList shown;
};

} // namespace

class UpdateCheckerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void newer_data();
    void newer();
    void check_data();
    void check();
};

void UpdateCheckerTest::newer_data() {
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<bool>("newer");
    const std::tuple<const char*, const char*, bool> rows[] = {
        {"1.10", "1.9", true},
        {"1.9", "1.10", false},
        {"1.2.0", "1.2", false},
        {"1.2", "1.2.0", false},
        {"1.2.1", "1.2", true},
        {"2.0-beta", "1.9", true},
        {"2.0-beta", "2.0", false},
        {"1.2-beta", "1.1", false},
        {".1..2.", "1.1", true},
        {"", "1.0", false},
        {"+2", "1", true},
        {"+-2", "0", false},
        {"-1", "0", false},
        {" 2", "1", false},
        {"99999999999999999999", "1", false},
        {"9223372036854775807", "9223372036854775806", true},
        {"٣", "1", false},
    };
    for (const auto& [a, b, newer] : rows)
        QTest::addRow("%s > %s", a, b) << QString::fromUtf8(a) << QString::fromUtf8(b) << newer;
}

void UpdateCheckerTest::newer() {
    QFETCH(QString, a);
    QFETCH(QString, b);
    QTEST(isNewer(a, b), "newer");
}

void UpdateCheckerTest::check_data() {
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("asked");
    QTest::addColumn<QString>("unasked");

    const QString failed = "Could not check for updates|Check your internet "
                           "connection and try again.|";
    const QString current = "You're up to date|Tavrik 1.2 is the latest version.|";
    const QString available = "Tavrik 1.3 is available|You have 1.2. Download "
                              "the new version, then replace "
                              "the app and reopen it.%1|Download,Later";
    const auto row = [](const char* name, int status, const QByteArray& body, const QString& asked,
                        const QString& unasked) {
        QTest::newRow(name) << status << body << asked << unasked;
    };

    row("newer", 200, R"({"version":"1.3","url":"https://example.org/t","other":1})", available.arg(""),
        available.arg(""));
    row("newer, whatever the status", 500, R"({"version":"1.3","url":"https://example.org/t"})",
        available.arg(""), available.arg(""));
    row("newer with notes", 200, R"({"version":"1.3","url":"https://example.org/t","notes":"<b>Faster</b>"})",
        available.arg("\n\nWhat's new:\n<b>Faster</b>"), available.arg("\n\nWhat's new:\n<b>Faster</b>"));
    row("empty notes", 200, R"({"version":"1.3","url":"https://example.org/t","notes":""})",
        available.arg(""), available.arg(""));
    row("notes of a wrong type", 200, R"({"version":"1.3","url":"https://example.org/t","notes":["x"]})",
        available.arg(""), available.arg(""));
    row("same", 200, R"({"version":"1.2.0","url":"https://example.org/t"})", current, "");
    row("unreadable version", 200, R"({"version":"soon","url":"https://example.org/t"})", current, "");
    row("not found", 404, R"({"error":"not found"})", failed, "");
    row("array", 200, R"([{"version":"1.3","url":"https://example.org/t"}])", failed, "");
    row("numeric version", 200, R"({"version":1.3,"url":"https://example.org/t"})", failed, "");
    row("no link", 200, R"({"version":"1.3"})", failed, "");
    row("link that is none", 200, R"({"version":"1.3","url":"not a link"})", failed, "");
    row("link to a file", 200, R"({"version":"1.3","url":"file:///etc/passwd"})", failed, "");
    row("link without a host", 200, R"({"version":"1.3","url":"https:///t"})", failed, "");
}

void UpdateCheckerTest::check() {
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    test::LocalService service;
    MainQueue queue;
    HttpClient http(queue);
    for (const auto& [userInitiated, column] : {std::pair(true, "asked"), std::pair(false, "unasked")}) {
        ShownAlerts alerts;
        UpdateChecker checker(http, alerts, queue, service.url("/version.json"), "1.2", [](const QUrl&) {});
        service.script({{.reply = {.status = status, .body = body}}});
        const auto before = service.requests().size();
        checker.check(userInitiated);
        // A second request tells when the first has been decided, silence included.
        bool done = false;
        QTRY_COMPARE(service.requests().size(), before + 1);
        QVERIFY(service.requests().last().header("Cache-Control").contains("no-cache"));
        http.send({.method = "GET", .url = service.url("/after"), .headers = {}, .body = {}},
                  [&](const Result<HttpResponse>&) { done = true; });
        QTRY_VERIFY(done);
        QTest::qWait(0);
        QFETCH(QString, asked);
        QFETCH(QString, unasked);
        QTRY_COMPARE(alerts.shown.join(u';'), userInitiated ? asked : unasked);
    }
}

QTEST_GUILESS_MAIN(UpdateCheckerTest)
#include "tst_updatechecker.moc"
