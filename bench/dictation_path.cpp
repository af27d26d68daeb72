// Whole dictations with the real program, from the press of the keys to the text in another program's editor,
// beside the script a user would write. On a desktop of its own:
//   tests/desktop/on-desktop dictation_path TAVRIK TAVRIK-BACKEND PORT SCRIPT [rounds]
// The server answers at once. In a Wayland session it takes a little, as a real one does, for people take
// their time to lift all fingers; there is no script, and who presses the keys is said in Keyboard.h. The
// program must have the hot key Control+Alt+Space and be allowed to paste.

#include "Keyboard.h"
#include "Measure.h"
#include "Programs.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QKeyEvent>
#include <QPlainTextEdit>
#include <QTemporaryDir>
#include <QUuid>

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <optional>

using namespace std::chrono_literals;
using namespace tavrik;
using namespace tavrik::bench;

namespace {

/// Where the texts arrive. Remembers when its paste key and its text came.
class Editor : public QPlainTextEdit {
public:
    Editor() {
        connect(this, &QPlainTextEdit::textChanged, this, [this] {
            if (!document()->isEmpty())
                textAt = now();
        });
    }
    void reset() {
        keyAt.reset();
        clear();
        textAt.reset();
    }

    std::optional<double> keyAt;
    std::optional<double> textAt;

protected:
    void keyPressEvent(QKeyEvent* event) override {
        if (event->matches(QKeySequence::Paste))
            keyAt = now();
        QPlainTextEdit::keyPressEvent(event);
    }
};

void writeHistory(int records) {
    const QString folder = qEnvironmentVariable("XDG_DATA_HOME") + "/Tavrik";
    QDir().mkpath(folder);
    QJsonArray list;
    const auto text =
        QStringLiteral("A sentence of the usual length, as somebody would dictate it. ").repeated(3);
    for (int i = 0; i < records; ++i)
        list.append(QJsonObject{{"id", QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper()},
                                {"date", "2026-01-01T00:00:00Z"},
                                {"text", text},
                                {"duration", 3.5}});
    QFile file(folder + "/history.json");
    if (!file.open(QFile::WriteOnly) || file.write(QJsonDocument(list).toJson()) < 0)
        qFatal("no history");
}

class Desk {
public:
    Desk(const QString& tavrik, const QString& backend, const QString& port, QString script)
        : m_script(std::move(script)) {
        ::inotify_add_watch(m_changes, qPrintable(QDir::tempPath()), IN_MODIFY);
        m_url = startBackend(m_backend, backend, {"--port", port, "--control"});
        // The virtual microphone then works in blocks of 10 ms, as a sound card would for the program; idle,
        // of 50 ms.
        m_silence.start("pacat", {"--latency-msec=10", "--device=vmic", "/dev/zero"});
        run(tavrik, {"preferences", "set", "openrouter_api_key", "-"}, "bench\n");
        run(tavrik, {"preferences", "set", "hotkey_modifiers", HotKeyHold::modifiers()});
        editor.show();
        editor.activateWindow();
        if (!QTest::qWaitFor([this] { return editor.isActiveWindow(); }, 20000))
            qFatal("no focus");
    }

    struct Times {
        double pressToSample = 0;
        double releaseToRequest = 0;
        double replyToKeys = 0;
        double replyToText = 0;
        double releaseToText = 0;
    };

    Times dictate() {
        script();
        // The desktop comes to rest: editor, panel and server have just worked.
        runFor(500ms);
        HotKeyHold hold;
        const double pressed = hold.press();
        const double sampled = waitForSample();
        speak();
        const double released = now();
        hold.release();
        auto times = await(released);
        times.pressToSample = sampled - pressed;
        return times;
    }

    /// The same by the script.
    Times dictateByScript() {
        script();
        QTemporaryDir folder;
        const QString file = folder.filePath("take.wav");
        QProcess recorder;
        recorder.start(m_script, {"start", file});
        recorder.waitForStarted();
        speak();
        Process sender;
        const double released = now();
        sender.start(m_script, {"stop", file, m_url, QString::number(recorder.processId())});
        recorder.waitForFinished();
        return await(released);
    }

    Editor editor;

private:
    void script() {
        editor.reset();
        run("curl",
            {"-s", "-H", "Content-Type: application/json", "--data-binary", "@-", m_url + "/control/replies"},
            R"([{"path": "/api/v1/chat/completions", "status": 200, "delayMs": )" +
                QByteArray::number(replyDelay()) +
                R"(, "body": "{\"choices\":[{\"message\":{\"content\":\"It is a fine day today.\"}}]}"}])");
    }

    static int replyDelay() { return isWayland() ? 300 : 0; }

    /// When the recording is more than its header. Asleep until then: whoever looks again and again takes one
    /// of few processors from the programs that are measured.
    double waitForSample() {
        pollfd changes{.fd = m_changes, .events = POLLIN, .revents = 0};
        while (::poll(&changes, 1, 20000) > 0) {
            std::array<char, 4096> events{};
            if (::read(m_changes, events.data(), events.size()) < 0)
                break;
            for (const auto& file : QDir::temp().entryInfoList({"tavrik-*.wav"}, QDir::Files))
                if (file.size() > 44)
                    return now();
        }
        qFatal("no recording");
    }

    /// Asleep until something happens, as an editor is: a wait that looks now and then would be measured too.
    double waitForText() {
        QEventLoop loop;
        QObject::connect(&editor, &QPlainTextEdit::textChanged, &loop, &QEventLoop::quit);
        QTimer::singleShot(20000, &loop, [] { qFatal("no text arrived"); });
        while (!editor.textAt)
            loop.exec();
        return *editor.textAt;
    }

    Times await(double released) {
        const double text = waitForText();
        const auto requests = QJsonDocument::fromJson(run("curl", {"-s", m_url + "/control/requests"}))
                                  .object()
                                  .value("requests")
                                  .toArray();
        const double received = requests.last().toObject().value("lastByteNs").toDouble() / 1e6;
        const double replied = received + replyDelay();
        return {.releaseToRequest = received - released,
                .replyToKeys = editor.keyAt.value_or(replied) - replied,
                .replyToText = text - replied,
                .releaseToText = text - released};
    }

    QString m_script;
    QString m_url;
    int m_changes = ::inotify_init1(IN_CLOEXEC);
    Process m_backend;
    Process m_silence;
};

double medianOf(const std::vector<Desk::Times>& rounds, double Desk::Times::* field) {
    std::vector<double> values;
    values.reserve(rounds.size());
    for (const auto& times : rounds)
        values.push_back(times.*field);
    return median(values);
}

} // namespace

int main(int argc, char* argv[]) {
    qputenv("QT_QPA_PLATFORM", isWayland() ? "wayland" : "xcb");
    QApplication application(argc, argv);
    const auto arguments = QCoreApplication::arguments();
    if (arguments.size() < 5)
        qFatal("usage: dictation_path TAVRIK TAVRIK-BACKEND PORT SCRIPT [rounds]");
    const int rounds = arguments.size() > 5 ? std::max(1, arguments[5].toInt()) : 15;
    Desk desk(arguments[1], arguments[2], arguments[3], arguments[4]);

    for (const int records : {0, 1000, 100000}) {
        writeHistory(records);
        Process program;
        startTavrik(program, arguments[1]);
        desk.dictate();
        std::vector<Desk::Times> ours;
        std::vector<Desk::Times> scripts;
        for (int i = 0; i < rounds; ++i) {
            ours.push_back(desk.dictate());
            if (records == 0 && !isWayland())
                scripts.push_back(desk.dictateByScript());
        }
        using Times = Desk::Times;
        if (records == 0 && !isWayland()) {
            const double whole = medianOf(ours, &Times::releaseToText);
            const double script = medianOf(scripts, &Times::releaseToText);
            std::printf("whole path, release to text in the editor: %.1f ms (script %.1f ms, ratio %.2f; "
                        "goal 0.33)\n",
                        whole, script, whole / script);
            std::printf("release to the request's last byte: %.1f ms\n",
                        medianOf(ours, &Times::releaseToRequest));
        }
        std::printf("press to first sample in the file, %d records: %.1f ms\n", records,
                    medianOf(ours, &Times::pressToSample));
        std::printf("reply to paste key in the editor, %d records: %.2f ms (goal 3)\n", records,
                    medianOf(ours, &Times::replyToKeys));
        std::printf("reply to text in the editor, %d records: %.2f ms (goal 15 at 1000)\n", records,
                    medianOf(ours, &Times::replyToText));
        std::fflush(stdout);
    }
}
