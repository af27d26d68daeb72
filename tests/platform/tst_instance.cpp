#include "platform/linux/DBusApplicationInstance.h"
#include "platform/linux/RunningInstance.h"

#include <QTest>

#include <future>
#include <vector>

using namespace tavrik;
using namespace std::chrono_literals;

class InstanceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void asksTheRunningProgram();
};

namespace {

/// As another launch would, while this one serves its event loop.
bool ask(const std::vector<const char*>& urls) {
    auto answer = std::async(std::launch::async, [&] { return askRunningInstance(urls); });
    while (answer.wait_for(0s) != std::future_status::ready)
        QTest::qWait(1);
    return answer.get();
}

} // namespace

void InstanceTest::asksTheRunningProgram() {
    QVERIFY(!ask({}));
    QVERIFY(!ask({"tavrik:"}));

    int reopened = 0;
    QByteArrayList opened;
    const ApplicationInstance::Handlers handlers{.reopened = [&](const QByteArray&) { ++reopened; },
                                                 .urlsOpened =
                                                     [&](const auto& urls, const QByteArray&) {
                                                         opened += urls;
                                                     }};
    {
        DBusApplicationInstance running;
        QVERIFY(running.claim(handlers));
        QVERIFY(ask({}));
        QTRY_COMPARE(reopened, 1);

        QVERIFY(ask({"TAVRIK://Callback#a=%zz&b=%C3%a9", "tavrik:کلید", "tavrik:", "tavrik:\xc3\xa9\xff~"}));
        // What is no text cannot cross the bus as it is.
        QTRY_COMPARE(opened, QByteArrayList({"TAVRIK://Callback#a=%zz&b=%C3%a9", "tavrik:کلید",
                                             "tavrik:", "tavrik:%C3%A9%FF~"}));
        QCOMPARE(reopened, 1);
    }
    QVERIFY(!ask({}));
}

QTEST_GUILESS_MAIN(InstanceTest)
#include "tst_instance.moc"
