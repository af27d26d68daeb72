// What the main window costs: how soon it is painted, the first time and later, and the memory it takes.
// Needs an X11 desktop:  tests/desktop/on-desktop window_show [records]

#include "Frames.h"
#include "SomeHistory.h"
#include "WindowDesk.h"

#include <QApplication>
#include <QFile>

#include <cstdio>
#include <ranges>

using namespace tavrik;
using namespace tavrik::bench;

namespace {

double showAndPaint(test::WindowDesk& desk) {
    return untilFrame([&]() -> QQuickWindow& {
        desk.controller.show({});
        return desk.window();
    });
}

double residentMegabytes() {
    QFile file(QStringLiteral("/proc/self/statm"));
    constexpr double pageKilobytes = 4;
    return file.open(QFile::ReadOnly) ? file.readAll().split(' ').at(1).toDouble() * pageKilobytes / 1024 : 0;
}

} // namespace

int main(int argc, char* argv[]) {
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const int records = argc > 1 ? std::atoi(argv[1]) : 1000;
    test::WindowDesk desk;
    const auto history = someHistory(records);
    for (const auto& record : history | std::views::reverse)
        desk.history.insertFirst(record);

    const double before = residentMegabytes();
    std::printf("window, first show to first frame    %6.1f ms   (goal 150 over the panel's)\n",
                showAndPaint(desk));
    runFor(std::chrono::seconds(1));
    std::printf("memory with the window open          %6.1f MB   (goal 70), %.1f before\n",
                residentMegabytes(), before);
    std::vector<double> warm;
    for (int i = 0; i < 15; ++i) {
        desk.window().close();
        runFor(std::chrono::milliseconds(100));
        warm.push_back(showAndPaint(desk));
    }
    std::printf("window, later shows, median          %6.1f ms   (goal 30)\n", median(warm));
    return 0;
}
