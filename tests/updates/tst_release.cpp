#include "updates/Release.h"
#include "updates/ReleaseVersion.h"

#include <QTest>

using namespace tavrik;

class ReleaseTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void newer_data() {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<bool>("newer");
        const std::tuple<const char*, const char*, bool> rows[] = {
            {"1.10", "1.9", true},
            {"1.9", "1.10", false},
            {"1.2.0", "1.2", false},
            {"1.2", "1.2.0", false},
            {"1.2.1", "1.2", true},
            {"1.2-beta", "1.1", false},
            {".1..2.", "1.1", true},
            {"+2", "1", true},
            {"0", "+-2", false},
            {" 2", "1", false},
            {"99999999999999999999", "1", false},
            {"9223372036854775807", "9223372036854775806", true},
            {"٣", "1", false},
        };
        for (const auto& [a, b, newer] : rows)
            QTest::addRow("%s > %s", a, b) << QString::fromUtf8(a) << QString::fromUtf8(b) << newer;
    }
    void newer() {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QTEST(isNewer(a, b), "newer");
    }

    void readsAManifest() {
        const auto whole = readReleaseManifest(
            manifest("'1.3'", "'http://example.org/t','notes':'<b>Faster</b>','other':1"));
        QVERIFY(whole);
        QCOMPARE(whole->version, QString("1.3"));
        QCOMPARE(whole->url, QUrl("http://example.org/t"));
        QCOMPARE(whole->notes, QString("<b>Faster</b>"));
        const auto oddNotes = readReleaseManifest(manifest("''", "'https://x.org','notes':['x']"));
        QVERIFY(oddNotes && oddNotes->notes.isEmpty());
    }

    void refusesAManifest() {
        const auto good = manifest("'1.3'", "'https://x.org'");
        for (const auto& json :
             {"[" + good + "]", manifest("1.3", "'https://x.org'"), manifest("'1.3'", "null"),
              manifest("'1.3'", "'not a link'"), manifest("'1.3'", "'file://x.org/passwd'"),
              manifest("'1.3'", "'https:///t'")})
            QVERIFY2(!readReleaseManifest(json), json.constData());
    }

private:
    static QByteArray manifest(const QByteArray& version, const QByteArray& url) {
        return QByteArray("{'version':" + version + ",'url':" + url + "}").replace('\'', '"');
    }
};

QTEST_GUILESS_MAIN(ReleaseTest)
#include "tst_release.moc"
