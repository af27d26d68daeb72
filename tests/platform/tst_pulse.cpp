#include "capture/Recorder.h"
#include "platform/linux/PulseConnection.h"
#include "platform/linux/PulseMicrophone.h"
#include "platform/linux/PulseSoundPlayer.h"

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>

using namespace tavrik;

namespace {

// What is played into the sink "vmic" can be recorded from the source "mic". norewinds: a null sink would
// otherwise render two seconds ahead.
const QStringList virtualMicrophone{
    QStringLiteral("-Lmodule-null-sink sink_name=vmic norewinds=1"),
    QStringLiteral(
        "-Lmodule-remap-source source_name=mic master=vmic.monitor channels=1 master_channel_map=front-left "
        "remix=no"),
};

// A sound server of the test's own, which it may kill or stop. Libpulse finds it by PULSE_SERVER.
class SoundServer {
public:
    explicit SoundServer(QStringList modules = virtualMicrophone) : m_modules(std::move(modules)) {
        qputenv("PULSE_SERVER", "unix:" + QFile::encodeName(socketPath()));
    }

    ~SoundServer() { kill(); }

    bool start() {
        // The desktop's own server has the name on its bus.
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/dev/null"));
        m_process.setProcessEnvironment(environment);
        m_process.start(QStringLiteral("pulseaudio"),
                        QStringList{QStringLiteral("-n"), QStringLiteral("--daemonize=no"),
                                    QStringLiteral("--use-pid-file=no"),
                                    QStringLiteral("--exit-idle-time=-1"),
                                    QStringLiteral("--disable-shm=yes"), QStringLiteral("--realtime=no"),
                                    QStringLiteral("--high-priority=no"),
                                    QStringLiteral("-Lmodule-native-protocol-unix auth-anonymous=1 socket=%1")
                                        .arg(socketPath())} +
                            m_modules);
        const auto up =
            QTest::qWaitFor([] { return ask({QStringLiteral("info")}).contains("Server Name"); }, 10000);
        if (up && m_modules == virtualMicrophone)
            ask({QStringLiteral("set-default-source"), QStringLiteral("mic")});
        return up;
    }

    void kill() {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.kill();
        m_process.waitForFinished();
    }

    /// Leaves it deaf, as if hung, until it is resumed or killed.
    void hang() { ::kill(static_cast<pid_t>(m_process.processId()), SIGSTOP); }
    void resume() { ::kill(static_cast<pid_t>(m_process.processId()), SIGCONT); }

    static QByteArray ask(const QStringList& arguments) {
        QProcess pactl;
        pactl.start(QStringLiteral("pactl"), arguments);
        pactl.waitForFinished();
        return pactl.exitCode() == 0 ? pactl.readAllStandardOutput() : QByteArray();
    }

    /// Whether the server answers and knows no stream of ours. The kind is as pactl names it.
    static bool hasNoneOfOurs(const QString& kind) {
        return ask({QStringLiteral("info")}).contains("Server Name") &&
               !ask({QStringLiteral("list"), kind}).contains("application.name = \"Tavrik\"");
    }

private:
    QString socketPath() const { return m_folder.filePath(QStringLiteral("native")); }

    QStringList m_modules;
    QTemporaryDir m_folder;
    QProcess m_process;
};

// A 440 Hz tone into the virtual microphone for as long as it lives.
class Tone {
public:
    Tone() {
        m_sox.setStandardOutputProcess(&m_player);
        m_sox.start(QStringLiteral("sox"),
                    QStringLiteral("-q -n -t raw -r 48000 -c 2 -b 16 -e signed - synth sine 440 "
                                   "vol 0.5")
                        .split(u' '));
        m_player.start(
            QStringLiteral("pacat"),
            QStringLiteral("--raw --rate=48000 --channels=2 --format=s16le --latency-msec=200 --device=vmic")
                .split(u' '));
    }

    ~Tone() {
        for (auto* process : {&m_sox, &m_player}) {
            process->kill();
            process->waitForFinished();
        }
    }

private:
    QProcess m_sox;
    QProcess m_player;
};

// Counts what a capture delivers; shared with the capture's thread.
struct Heard {
    std::atomic<int> samples = 0;
    std::atomic<int> loud = 0;

    Microphone::Sink sink() {
        return [this](auto span) {
            samples += static_cast<int>(span.size());
            loud += static_cast<int>(
                std::ranges::count_if(span, [](qint16 sample) { return std::abs(sample) > 300; }));
        };
    }
};

// On a busy machine even a sound server in good health may miss the time it has to answer in: asks again
// then.
template<class Attempt>
auto patiently(Attempt attempt) {
    auto result = attempt();
    for (int i = 0; i < 50 && !result && result.error() == PulseConnection::error(PA_ERR_TIMEOUT); ++i)
        result = attempt();
    return result;
}

Result<std::unique_ptr<Microphone::Capture>> begin(Microphone& microphone, Heard& heard) {
    return patiently([&] { return microphone.start(heard.sink()); });
}

float power(AbstractRecorder& recorder) {
    return recorder.averagePower().value_or(1);
}

} // namespace

class TestPulse : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_connection = std::make_shared<PulseConnection>(); }
    void cleanup() { m_connection.reset(); }

    void toneComesBackInTheFile();
    void startFails_data();
    void startFails();
    void hungServerIsTold();
    void serverGoesMidTake_data();
    void serverGoesMidTake();
    void serverRestarts();
    void sourceVanishesMidTake();
    void soundsAreHeard();

private:
    std::shared_ptr<PulseConnection> m_connection;
};

void TestPulse::toneComesBackInTheFile() {
    SoundServer server;
    QVERIFY(server.start());
    const Tone tone;
    PulseMicrophone microphone(m_connection);
    microphone.requestAccess();
    const QTemporaryDir folder;
    Recorder recorder(microphone, folder.path());
    QVERIFY(patiently([&] { return recorder.start(); }));
    QTRY_VERIFY(std::abs(power(recorder) - -9) < 1); // a sine at half of full scale
    const auto listed = server.ask({QStringLiteral("list"), QStringLiteral("source-outputs")});
    QVERIFY2(listed.contains("application.name = \"Tavrik\"") &&
                 listed.contains("media.name = \"Dictation\""),
             listed.constData());
    const auto take = recorder.stop().value_or(AbstractRecorder::Take{});

    QFile file(take.file);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(static_cast<double>(file.size() - 44) / 32000, take.duration);
    // The pitch: a 440 Hz tone changes its sign 880 times a second.
    constexpr qsizetype window = 800;
    const auto bytes = file.readAll().last(window * 2);
    const auto* samples = reinterpret_cast<const qint16*>(bytes.constData());
    int crossings = 0;
    for (qsizetype i = 1; i < window; ++i)
        crossings += (samples[i - 1] < 0) != (samples[i] < 0);
    QVERIFY2(std::abs(crossings - 44) <= 2, qPrintable(QString::number(crossings)));
    QTRY_VERIFY(server.hasNoneOfOurs(QStringLiteral("source-outputs")));
}

void TestPulse::startFails_data() {
    QTest::addColumn<bool>("running");
    QTest::addColumn<QString>("description");
    QTest::newRow("no server") << false
                               << QStringLiteral("The sound server cannot be used (Connection refused).");
    QTest::newRow("no source") << true << QStringLiteral("No microphone was found.");
}

void TestPulse::startFails() {
    QFETCH(bool, running);
    SoundServer server{QStringList()};
    if (running)
        QVERIFY(server.start());
    PulseMicrophone microphone(m_connection);
    Heard heard;
    const auto capture = begin(microphone, heard);
    QVERIFY(!capture);
    QTEST(capture.error().description, "description");
}

void TestPulse::hungServerIsTold() {
    SoundServer server;
    QVERIFY(server.start());
    PulseMicrophone microphone(m_connection);
    Heard heard;
    QVERIFY(begin(microphone, heard));
    server.hang();
    const auto capture = microphone.start(heard.sink());
    QVERIFY(!capture);
    QCOMPARE(capture.error().description, QStringLiteral("The sound server does not answer."));
    server.resume();
    // It does not open the microphone later, for nobody.
    QTRY_VERIFY(server.hasNoneOfOurs(QStringLiteral("source-outputs")));
    QVERIFY(begin(microphone, heard));
}

void TestPulse::serverGoesMidTake_data() {
    QTest::addColumn<bool>("hangs");
    QTest::newRow("killed") << false;
    QTest::newRow("hung") << true;
}

void TestPulse::serverGoesMidTake() {
    QFETCH(bool, hangs);
    SoundServer server;
    QVERIFY(server.start());
    PulseMicrophone microphone(m_connection);
    const QTemporaryDir folder;
    Recorder recorder(microphone, folder.path());
    const Tone tone;
    QVERIFY(patiently([&] { return recorder.start(); }));
    QTRY_VERIFY(power(recorder) > -12);
    hangs ? server.hang() : server.kill();
    QTRY_COMPARE(power(recorder), -160.0F);
    const auto take = recorder.stop().value_or(AbstractRecorder::Take{});
    QVERIFY(take.duration > 0);
    QCOMPARE(static_cast<double>(QFile(take.file).size() - 44) / 32000, take.duration);
    server.kill();
}

void TestPulse::serverRestarts() {
    SoundServer server;
    QVERIFY(server.start());
    PulseMicrophone microphone(m_connection);
    Heard before, between, after;
    auto capture = begin(microphone, before);
    QVERIFY(capture);
    QTRY_VERIFY(before.samples > 0);
    server.kill();
    QVERIFY(!begin(microphone, between));
    QVERIFY(server.start());
    auto next = begin(microphone, after);
    QVERIFY(next);
    (*capture)->stop(); // left over from the old connection
    QTRY_VERIFY(after.samples >= 320);
    (*next)->stop();
}

void TestPulse::sourceVanishesMidTake() {
    SoundServer server;
    QVERIFY(server.start());
    PulseMicrophone microphone(m_connection);
    Heard heard;
    const auto capture = begin(microphone, heard);
    QVERIFY(capture);
    QTRY_VERIFY(heard.samples > 0);
    server.ask({QStringLiteral("unload-module"), QStringLiteral("module-remap-source")});
    const int before = heard.samples;
    QTRY_VERIFY(heard.samples >= before + 3200);
    (*capture)->stop();
}

void TestPulse::soundsAreHeard() {
    SoundServer server;
    PulseSoundPlayer player(m_connection);
    player.play(Sound::basso); // in vain
    for (int run = 0; run < 2; ++run) {
        QVERIFY(server.start());
        PulseMicrophone microphone(std::make_shared<PulseConnection>());
        for (const auto sound : {Sound::pop, Sound::glass, Sound::basso}) {
            Heard heard;
            const auto capture = begin(microphone, heard);
            QVERIFY(capture);
            QTRY_VERIFY(heard.samples >= 1600);
            QCOMPARE(heard.loud, 0);
            player.play(sound);
            QTRY_VERIFY(heard.loud > 100);
            QTRY_VERIFY(server.hasNoneOfOurs(QStringLiteral("sink-inputs")));
            (*capture)->stop();
        }
        server.kill();
    }
}

QTEST_GUILESS_MAIN(TestPulse)
#include "tst_pulse.moc"
