#pragma once

#include "Measure.h"

#include <QQuickWindow>

namespace tavrik::bench {

/// Milliseconds from the call, which returns a window, to that window's next frame on its way to the screen.
template<class Call>
double untilFrame(const Call& call) {
    return timed([&] {
        const QQuickWindow& window = call();
        QEventLoop loop;
        QObject::connect(&window, &QQuickWindow::frameSwapped, &loop, &QEventLoop::quit);
        loop.exec();
    });
}

} // namespace tavrik::bench
