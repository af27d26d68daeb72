// What the recording panel costs: how soon it is painted, and the processor's time while its bars follow a
// voice. Needs an X11 desktop:  tests/desktop/on-desktop panel_cost [seconds]

#include "Measure.h"
#include "base/MainQueue.h"
#include "platform/x11/X11PanelHost.h"
#include "ui/hud/RecordingHUD.h"
#include "ui/shell/ViewEngine.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QQuickWindow>
#include <QTimer>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <vector>

using namespace tavrik;
using namespace tavrik::bench;

namespace {

QQuickWindow* panel() {
    for (auto* window : QGuiApplication::topLevelWindows()) {
        if (auto* quick = qobject_cast<QQuickWindow*>(window))
            return quick;
    }
    return nullptr;
}

void runFor(std::chrono::milliseconds duration) {
    QEventLoop loop;
    QTimer::singleShot(duration, &loop, &QEventLoop::quit);
    loop.exec();
}

/// Milliseconds from the call to the first frame on its way to the screen.
double showAndPaint(RecordingHUD& hud, const std::function<float()>& voice) {
    QElapsedTimer time;
    time.start();
    hud.show(voice, [] {}, [] {});
    QEventLoop loop;
    const auto painted = QObject::connect(panel(), &QQuickWindow::frameSwapped, &loop, &QEventLoop::quit);
    loop.exec();
    QObject::disconnect(painted);
    return static_cast<double>(time.nsecsElapsed()) / 1e6;
}

double processorPercent(std::chrono::seconds duration) {
    const auto before = std::clock();
    runFor(duration);
    return 100.0 * static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC /
           static_cast<double>(duration.count());
}

} // namespace

int main(int argc, char* argv[]) {
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QApplication application(argc, argv);
    const std::chrono::seconds duration(argc > 1 ? std::atoi(argv[1]) : 20);
    MainQueue queue;
    X11PanelHost host;
    ViewEngine engine;
    RecordingHUD hud(host, queue, engine);
    QElapsedTimer clock;
    clock.start();
    const auto voice = [&clock] {
        const double seconds = static_cast<double>(clock.elapsed()) / 1000;
        return static_cast<float>(0.45 * std::abs(std::sin(seconds * 7) * std::sin(seconds * 2.3)));
    };

    std::printf("panel, first show to first frame     %6.1f ms\n", showAndPaint(hud, voice));
    std::vector<double> warm;
    for (int i = 0; i < 15; ++i) {
        hud.hide();
        runFor(std::chrono::milliseconds(50));
        warm.push_back(showAndPaint(hud, voice));
    }
    std::printf("panel, later shows, median           %6.1f ms\n", median(warm));
    std::printf("processor, recording a voice         %6.2f %%   (goal 3)\n", processorPercent(duration));
    hud.show([] { return 0.0F; }, [] {}, [] {});
    std::printf("processor, recording silence         %6.2f %%\n", processorPercent(duration / 2));
    hud.setProcessing();
    std::printf("processor, translating               %6.2f %%\n", processorPercent(duration / 2));
    hud.hide();
    runFor(std::chrono::seconds(1));
    std::printf("processor, panel hidden              %6.2f %%\n", processorPercent(duration / 2));
    return 0;
}
