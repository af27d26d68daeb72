// What the recording panel costs: how soon it is painted, and the processor's time while its bars follow a
// voice. Needs an X11 desktop:  tests/desktop/on-desktop panel_cost [seconds]

#include "Frames.h"
#include "base/MainQueue.h"
#include "platform/x11/X11PanelHost.h"
#include "ui/hud/RecordingHUD.h"
#include "ui/shell/ViewEngine.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QQuickWindow>

#include <cmath>
#include <cstdio>
#include <vector>

using namespace tavrik;
using namespace tavrik::bench;

namespace {

QQuickWindow& panel() {
    for (auto* window : QGuiApplication::topLevelWindows()) {
        if (auto* quick = qobject_cast<QQuickWindow*>(window))
            return *quick;
    }
    qFatal("no panel");
}

double showAndPaint(RecordingHUD& hud, const std::function<float()>& voice) {
    return untilFrame([&]() -> QQuickWindow& {
        hud.show(voice, [] {}, [] {});
        return panel();
    });
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
