#include "updates/Release.h"
#include "updates/ReleaseVersion.h"

#include <QTest>

using namespace tavrik;
using namespace Qt::StringLiterals;

namespace {

constexpr auto manifest =
    R"({"version":"1.3","url":"http://example.org/t","notes":"<b>Faster</b>","other":1})";
constexpr auto oddManifest = R"({"version":"","url":"https://x.org","notes":["x"]})";
constexpr const char* invalidManifests[]{R"([{"version":"1.3","url":"https://x.org"}])",
                                         R"({"version":1.3,"url":"https://x.org"})",
                                         R"({"version":"1.3","url":null})",
                                         R"({"version":"1.3","url":"not a link"})",
                                         R"({"version":"1.3","url":"file://x.org/passwd"})",
                                         R"({"version":"1.3","url":"https:///t"})",
                                         R"({"version":"1.3","url":"http://[::1]:80/%zz?a#b"})"};

} // namespace

class ReleaseTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void newer() {
        const std::tuple<QString, QString, bool> rows[]{
            {u"1.10"_s, u"1.9"_s, true},
            {u"1.2.0"_s, u"1.2"_s, false},
            {u"1.2.1"_s, u"1.2"_s, true},
            {u"1.2-beta"_s, u"1.1"_s, false},
            {u".1..2."_s, u"1.1"_s, true},
            {u"+2"_s, u"1"_s, true},
            {u"0"_s, u"+-2"_s, false},
            {u" 2"_s, u"1"_s, false},
            {u"99999999999999999999"_s, u"1"_s, false},
            {u"9223372036854775807"_s, u"9223372036854775806"_s, true},
            {u"٣"_s, u"1"_s, false}};
        for (const auto& [a, b, newer] : rows) {
            QVERIFY2(isNewer(a, b) == newer, qPrintable(a));
            QVERIFY2(!newer || !isNewer(b, a), qPrintable(a));
        }
    }

    void manifests() {
        const auto whole = readReleaseManifest(manifest);
        QVERIFY(whole);
        QCOMPARE(whole->version, u"1.3"_s);
        QCOMPARE(whole->url, QUrl(u"http://example.org/t"_s));
        QCOMPARE(whole->notes, u"<b>Faster</b>"_s);
        const auto oddNotes = readReleaseManifest(oddManifest);
        QVERIFY(oddNotes && oddNotes->notes.isEmpty());
        for (const auto* json : invalidManifests)
            QVERIFY2(!readReleaseManifest(json), json);
    }
};

QTEST_GUILESS_MAIN(ReleaseTest)
#include "tst_release.moc"
