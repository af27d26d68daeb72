// How long a text takes from our hands into another program's editor, beside the two commands a script would
// run for it. Needs a desktop that focuses new windows:  tests/desktop/on-desktop paste_latency [rounds]

#include "Measure.h"
#include "Programs.h"
#include "base/MainQueue.h"
#include "capture/Paster.h"
#include "platform/qt/QtClipboard.h"
#include "platform/x11/X11Keyboard.h"
#include "platform/x11/X11PasteKeys.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPlainTextEdit>

#include <cstdio>

using namespace tavrik;
using namespace tavrik::bench;

namespace {

/// Prints the moment of every key V and of every text, then discards the text.
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
    void keyPressEvent(QKeyEvent* event) override {
        if (event->key() == Qt::Key_V)
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

void measure(int rounds, const QString& text) {
    X11Keyboard keyboard;
    QtClipboard clipboard;
    X11PasteKeys keys(keyboard, [&clipboard] { clipboard.offerAsSelection(); });
    MainQueue queue;
    Paster paster(clipboard, keys, queue);

    Editor editor;
    if (!QTest::qWaitFor([&] { return keyboard.queryInput().focusedWindowClass.contains("paste_latency"); },
                         20000))
        qFatal("no focus");

    std::vector<double> sent;
    std::vector<double> keyed;
    std::vector<double> arrived;
    std::vector<double> peer;
    for (int i = 0; i < rounds; ++i) {
        auto start = now();
        paster.paste(text, [](const Result<void>&) {});
        sent.push_back(now() - start);
        keyed.push_back(editor.await("key") - start);
        arrived.push_back(editor.await("text") - start);

        start = now();
        run("xclip", {"-i", "-selection", "clipboard"}, text.toUtf8());
        run("xdotool", {"key", "--delay", "0", "ctrl+v"});
        editor.await("key");
        peer.push_back(editor.await("text") - start);
    }
    std::printf("paste, text to keys sent, %lld letters: %.2f ms (worst %.2f)\n",
                static_cast<long long>(text.size()), median(sent), worst(sent));
    std::printf("paste, text to key event in the editor: %.2f ms (worst %.2f)\n", median(keyed),
                worst(keyed));
    std::printf("paste, text to text in the editor: %.2f ms (xclip and xdotool %.2f ms, ratio %.2f)\n",
                median(arrived), median(peer), median(arrived) / median(peer));
}

} // namespace

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    const auto arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "--receiver")
        return receive(application);
    const int rounds = arguments.size() > 1 ? std::max(1, arguments[1].toInt()) : 60;
    measure(rounds,
            QStringLiteral("A sentence of the usual length, as somebody would dictate it. ").repeated(3));
    measure(rounds, QStringLiteral("A long dictation. ").repeated(2000));
}
