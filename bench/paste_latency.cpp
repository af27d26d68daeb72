// How long a text takes from our hands into another program's editor. Needs a desktop that focuses new
// windows:
//   tests/desktop/on-desktop paste_latency [rounds]
// On X11 beside the two commands a script would run for it. In a Wayland session, where none serve all
// compositors, beside the keyboard of BENCH_KEYS (see Keyboard.h).

#include "Keyboard.h"
#include "Measure.h"
#include "Programs.h"
#include "base/MainQueue.h"
#include "capture/Paster.h"
#include "platform/Clipboard.h"
#include "platform/PasteKeys.h"
#include "platform/Platform.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPlainTextEdit>

#include <cstdio>

using namespace tavrik;
using namespace tavrik::bench;

namespace {

/// Prints the moments of the focus, of every paste key and of every text, then discards the text.
class Receiver : public QPlainTextEdit {
public:
    Receiver() {
        connect(this, &QPlainTextEdit::textChanged, this, [this] {
            if (document()->isEmpty())
                return;
            report("text");
            clear();
        });
    }

protected:
    void focusInEvent(QFocusEvent* event) override {
        QPlainTextEdit::focusInEvent(event);
        report("focus");
    }
    void keyPressEvent(QKeyEvent* event) override {
        if (event->matches(QKeySequence::Paste))
            report("key");
        QPlainTextEdit::keyPressEvent(event);
    }

private:
    static void report(const char* what) {
        std::printf("%s %.3f\n", what, now());
        std::fflush(stdout);
    }
};

/// The receiver, in a process of its own.
class Editor {
public:
    Editor() { m_process.start(QCoreApplication::applicationFilePath(), {"--receiver"}); }

    /// When the named thing happened. The event loop runs meanwhile, for the editor asks it for the text.
    double await(const QByteArray& what) {
        while (!m_process.canReadLine())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        const auto words = m_process.readLine().trimmed().split(' ');
        if (words.size() != 2 || words[0] != what)
            qFatal("something else arrived");
        return words[1].toDouble();
    }

private:
    Process m_process;
};

int receive(QApplication& application) {
    Receiver receiver;
    receiver.show();
    return application.exec();
}

/// Somebody else's paste. When it began.
double pasteByPeer(Platform& platform, const QString& text) {
    if (!isWayland()) {
        const auto start = now();
        run("xclip", {"-i", "-selection", "clipboard"}, text.toUtf8());
        run("xdotool", {"key", "--delay", "0", "ctrl+v"});
        return start;
    }
    platform.clipboard->setText(text);
    runFor(std::chrono::milliseconds(100));
    Keyboard keyboard;
    const auto start = now();
    for (const auto& [key, down] :
         {std::pair(KEY_LEFTSHIFT, true), {KEY_INSERT, true}, {KEY_INSERT, false}, {KEY_LEFTSHIFT, false}})
        keyboard.press(key, down);
    return start;
}

void measure(int rounds, const QString& text) {
    MainQueue queue;
    Platform platform(queue);
    Paster paster(*platform.clipboard, *platform.pasteKeys, queue);
    // The user may be asked.
    platform.pasteKeys->requestPermission(PermissionRequest::once, [] {});
    if (!QTest::qWaitFor([&] { return platform.pasteKeys->status().works; }, 60000))
        qFatal("no pasting: %s", qPrintable(platform.pasteKeys->status().reason));

    Editor editor;
    editor.await("focus");
    // Its key map comes after the focus.
    runFor(std::chrono::seconds(1));

    std::vector<double> sent;
    std::vector<double> keyed;
    std::vector<double> arrived;
    std::vector<double> peer;
    for (int i = 0; i < rounds; ++i) {
        // Dictations do not come one upon the other.
        runFor(std::chrono::milliseconds(200));
        auto start = now();
        paster.paste(text, [](const Result<void>&) {});
        sent.push_back(now() - start);
        keyed.push_back(editor.await("key") - start);
        arrived.push_back(editor.await("text") - start);

        start = pasteByPeer(platform, text);
        editor.await("key");
        peer.push_back(editor.await("text") - start);
    }
    std::printf("paste, text to keys sent, %lld letters: %.2f ms (worst %.2f)\n",
                static_cast<long long>(text.size()), median(sent), worst(sent));
    std::printf("paste, text to key event in the editor: %.2f ms (worst %.2f)\n", median(keyed),
                worst(keyed));
    std::printf("paste, text to text in the editor: %.2f ms (worst %.2f; peer %.2f, ratio %.2f)\n",
                median(arrived), worst(arrived), median(peer), median(arrived) / median(peer));
}

} // namespace

int main(int argc, char* argv[]) {
    const bool isReceiver = argc > 1 && QByteArray(argv[1]) == "--receiver";
    qputenv("QT_QPA_PLATFORM", isReceiver && isWayland() ? "wayland" : "xcb");
    QApplication application(argc, argv);
    if (isReceiver)
        return receive(application);
    const auto arguments = QCoreApplication::arguments();
    const int rounds = arguments.size() > 1 ? std::max(1, arguments[1].toInt()) : 60;
    measure(rounds,
            QStringLiteral("A sentence of the usual length, as somebody would dictate it. ").repeated(3));
    measure(rounds, QStringLiteral("A long dictation. ").repeated(2000));
}
