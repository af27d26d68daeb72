#include "base/MainQueue.h"
#include "capture/HotKey.h"
#include "support/FakePlatform.h"

#include <QTest>

#include <memory>

using namespace tavrik;

/// The callbacks' way through the main queue; what a desktop does with the keys is tested on a desktop.
class TestHotKey : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void callbacksRunOnTheQueueInOrder();
    void callbacksAreLookedUpWhenTheJobRuns();
    void anAlertDelaysThem();
    void whatWasQueuedOutlivesTheHotKey();
    void theOldCombinationGoesBeforeTheNewOne();
    void aTakenCombinationIsQuiet();

private:
    std::unique_ptr<HotKey> make() {
        auto hotKey =
            std::make_unique<HotKey>(*m_backend, m_queue, KeyCombination{49, KeyCombination::option});
        hotKey->setOnPress([this] { m_log << "press"; });
        hotKey->setOnRelease([this] { m_log << "release"; });
        return hotKey;
    }

    MainQueue m_queue;
    QStringList m_log;
    std::unique_ptr<fake::HotKeys> m_backend;
};

void TestHotKey::init() {
    m_log.clear();
    m_backend = std::make_unique<fake::HotKeys>(m_log);
}

void TestHotKey::callbacksRunOnTheQueueInOrder() {
    const auto hotKey = make();
    m_backend->handlers.pressed();
    m_backend->handlers.released();
    m_backend->handlers.pressed();
    QCOMPARE(m_log, QStringList{"register 49 2048"});
    QTRY_COMPARE(m_log, QStringList({"register 49 2048", "press", "release", "press"}));
}

void TestHotKey::callbacksAreLookedUpWhenTheJobRuns() {
    const auto hotKey = make();
    m_backend->handlers.pressed();
    m_backend->handlers.released();
    hotKey->setOnPress([this, &key = *hotKey] {
        m_log << "new press";
        key.setOnPress({});
    });
    m_backend->handlers.pressed();
    hotKey->setOnRelease({});
    m_queue.post([this] { m_log << "end"; });
    QTRY_COMPARE(m_log.last(), "end");
    QCOMPARE(m_log, QStringList({"register 49 2048", "new press", "end"}));
}

void TestHotKey::anAlertDelaysThem() {
    const auto hotKey = make();
    {
        const MainQueue::Hold alert(m_queue);
        m_backend->handlers.pressed();
        m_backend->handlers.released();
        QCoreApplication::processEvents();
        QCOMPARE(m_log.size(), 1);
    }
    QTRY_COMPARE(m_log, QStringList({"register 49 2048", "press", "release"}));
}

void TestHotKey::whatWasQueuedOutlivesTheHotKey() {
    auto hotKey = make();
    m_backend->handlers.released();
    hotKey.reset();
    QCOMPARE(m_log.last(), "unregister");
    QTRY_COMPARE(m_log.last(), "release");
}

void TestHotKey::theOldCombinationGoesBeforeTheNewOne() {
    auto hotKey = make();
    hotKey.reset();
    hotKey = std::make_unique<HotKey>(*m_backend, m_queue, KeyCombination{96, 0});
    QCOMPARE(m_log, QStringList({"register 49 2048", "unregister", "register 96 0"}));
}

void TestHotKey::aTakenCombinationIsQuiet() {
    m_backend->answer = HotKeyBackend::Status::taken;
    const auto hotKey = make();
    QCOMPARE(hotKey->status(), HotKeyBackend::Status::taken);
}

QTEST_GUILESS_MAIN(TestHotKey)
#include "tst_hotkey.moc"
