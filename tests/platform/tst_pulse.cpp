#include "capture/Recorder.h"
#include "platform/linux/PulseConnection.h"
#include "platform/linux/PulseMicrophone.h"
#include "platform/linux/PulseSoundPlayer.h"
#include "support/Command.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <csignal>
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

/// A sound server that the test may kill or stop. Libpulse finds it by PULSE_SERVER.
struct SoundServer : QProcess {
    ~SoundServer() override { end(); }

    bool begin() {
        const auto socket = m_folder.filePath(u"native"_s);
        qputenv("PULSE_SERVER", "unix:" + QFile::encodeName(socket));
        // The desktop's own server has the name on its bus. What is played into the sink "vmic" can be
        // recorded from the source "mic". norewinds: a null sink would otherwise render two seconds ahead.
        startCommand(
            u"env DBUS_SESSION_BUS_ADDRESS=unix:path=/dev/null pulseaudio -n --daemonize=no "
            "--use-pid-file=no --exit-idle-time=-1 --disable-shm=yes --realtime=no --high-priority=no "
            "\"-Lmodule-native-protocol-unix auth-anonymous=1 socket=%1\" "
            "\"-Lmodule-null-sink sink_name=vmic norewinds=1\" "
            "\"-Lmodule-remap-source source_name=mic master=vmic.monitor channels=1 "
            "master_channel_map=front-left remix=no\""_s.arg(socket));
        return QTest::qWaitFor([] { return !pactl(u"info"_s).isEmpty(); }, 10000);
    }
    void end() {
        kill();
        waitForFinished();
    }
    void signal(int number) const { ::kill(static_cast<pid_t>(processId()), number); }

    const QTemporaryDir m_folder;
};

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

    std::unique_ptr<SoundServer> m_server;
    std::unique_ptr<Client> m_client;

private Q_SLOTS:
    void init() {
        m_server = std::make_unique<SoundServer>();
        QVERIFY(m_server->begin());
        m_client = std::make_unique<Client>();
        QVERIFY(m_client->connects());
    }
    void cleanup() {
        m_client.reset();
        m_server.reset();
    }

    // What happens where it ends, test_dictation.py sees.
    void serverHangsMidTake() {
        Heard heard;
        const auto leftOver = m_client->microphone.start(heard.sink());
        QVERIFY(leftOver);
        QCOMPARE(m_client->startError(), QString());
        QVERIFY(!pactl(u"load-module module-sine sink=vmic"_s).isEmpty());
        QTRY_VERIFY(m_client->power() > -12); // a sine at half of full scale
        QVERIFY(!hasNoneOfOurs(u"source-outputs"_s));
        m_server->signal(SIGSTOP);
        QTRY_COMPARE(m_client->power(), -160.0F);
        const auto take = m_client->recorder.stop().value_or(AbstractRecorder::Take{});
        QVERIFY(take.duration > 0 && !take.isSilent);
        QCOMPARE(take.interruption, u"No more sound came from the microphone."_s);
        QCOMPARE(static_cast<double>(QFile(take.file).size() - 44) / 32000, take.duration);
        QCOMPARE(m_client->startError(), u"The sound server does not answer."_s);

        m_server->signal(SIGCONT);
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
        m_server->end();
        PulseSoundPlayer player(std::make_shared<PulseConnection>());
        player.play(Sound::basso); // in vain
        for (int run = 0; run < 2; ++run) {
            QVERIFY(m_server->begin());
            m_client = std::make_unique<Client>();
            QVERIFY(m_client->connects());
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
            m_server->end();
        }
    }
};

QTEST_GUILESS_MAIN(TestPulse)
#include "tst_pulse.moc"
