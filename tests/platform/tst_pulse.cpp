#include "capture/Recorder.h"
#include "platform/linux/PulseConnection.h"
#include "platform/linux/PulseMicrophone.h"
#include "platform/linux/PulseSoundPlayer.h"
#include "support/Command.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <cstdlib>

using namespace tavrik;
using namespace tavrik::test;
using namespace Qt::StringLiterals;

namespace {

QByteArray pactl(const QString& arguments) {
    return output(u"pactl "_s + arguments);
}

/// Whether the server answers and has no stream of ours. The kind is as pactl names it.
bool hasNoneOfOurs(const QString& kind) {
    return pactl(u"info"_s).contains("Server Name") && !pactl(u"list "_s + kind).contains("\"Tavrik\"");
}

void signalServer(const QString& name) {
    output(u"sh -c \"kill -%1 $(cat $VDESK/pid/03-pulse)\""_s.arg(name));
}

/// Counts what a capture delivers on its own thread.
struct Heard {
    std::atomic<int> samples = 0;
    std::atomic<int> loud = 0;

    Microphone::Sink sink() {
        return [this](auto span) {
            samples += static_cast<int>(span.size());
            for (const int sample : span)
                loud += std::abs(sample) > 300 ? 1 : 0;
        };
    }
};

/// The program's side, with the connection that it opens long before the first take.
struct Client {
    bool connects() {
        return QTest::qWaitFor([this] { return microphone.status().works; });
    }

    QString startError() {
        const auto result = recorder.start();
        return result ? QString() : result.error().description;
    }

    float power() { return recorder.averagePower().value_or(1); }

    std::shared_ptr<PulseConnection> connection = std::make_shared<PulseConnection>();
    PulseMicrophone microphone{connection};
    QTemporaryDir folder;
    Recorder recorder{microphone, folder.path()};
};

} // namespace

class TestPulse : public QObject {
    Q_OBJECT

    std::unique_ptr<Client> m_client;

private Q_SLOTS:
    void init() {
        // The desktop is this test's own.
        output(u"vdesk restart 03-pulse"_s);
        m_client = std::make_unique<Client>();
        QVERIFY(m_client->connects());
    }
    void cleanup() { m_client.reset(); }

    // What happens where it ends, test_dictation.py sees.
    void serverHangsMidTake() {
        Heard heard;
        const auto leftOver = m_client->microphone.start(heard.sink());
        QVERIFY(leftOver);
        QCOMPARE(m_client->startError(), QString());
        QVERIFY(!pactl(u"load-module module-sine sink=vmic"_s).isEmpty());
        QTRY_VERIFY(m_client->power() > -12); // a sine at half of full scale
        QVERIFY(!hasNoneOfOurs(u"source-outputs"_s));
        signalServer(u"STOP"_s);
        QTRY_COMPARE(m_client->power(), -160.0F);
        const auto take = m_client->recorder.stop().value_or(AbstractRecorder::Take{});
        QVERIFY(take.duration > 0 && !take.isSilent);
        QCOMPARE(take.interruption, u"No more sound came from the microphone."_s);
        QCOMPARE(static_cast<double>(QFile(take.file).size() - 44) / 32000, take.duration);
        QCOMPARE(m_client->startError(), u"The sound server does not answer."_s);

        signalServer(u"CONT"_s);
        // A server that wakes up does not open the microphone for a start that has failed.
        QTRY_VERIFY(hasNoneOfOurs(u"source-outputs"_s));
        Heard after;
        const auto next = m_client->microphone.start(after.sink());
        QVERIFY(next);
        QVERIFY(!(*leftOver)->stop()); // from the old connection
        QTRY_VERIFY(after.samples >= 320);
        QVERIFY((*next)->stop());
        QTRY_VERIFY(hasNoneOfOurs(u"source-outputs"_s));
    }

    void sourceVanishesMidTake() {
        Heard heard;
        const auto capture = m_client->microphone.start(heard.sink());
        QVERIFY(capture);
        QTRY_VERIFY(heard.samples > 0);
        pactl(u"unload-module module-remap-source"_s);
        const int before = heard.samples;
        QTRY_VERIFY(heard.samples >= before + 3200);
        pactl(u"unload-module module-null-sink"_s);
        QCOMPARE(m_client->startError(), u"No microphone was found."_s);
    }

    void soundsAreHeard() {
        const auto server = qgetenv("PULSE_SERVER");
        qputenv("PULSE_SERVER", "unix:/nonexistent");
        PulseSoundPlayer player(std::make_shared<PulseConnection>());
        player.play(Sound::basso); // in vain
        qputenv("PULSE_SERVER", server);
        for (int run = 0; run < 2; ++run) {
            init();
            for (const auto sound : {Sound::pop, Sound::glass, Sound::basso}) {
                Heard heard;
                const auto capture = m_client->microphone.start(heard.sink());
                QVERIFY(capture);
                QTRY_VERIFY(heard.samples >= 1600);
                QCOMPARE(heard.loud, 0);
                player.play(sound);
                QTRY_VERIFY(heard.loud > 100);
                QTRY_VERIFY(hasNoneOfOurs(u"sink-inputs"_s));
                QVERIFY((*capture)->stop());
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestPulse)
#include "tst_pulse.moc"
