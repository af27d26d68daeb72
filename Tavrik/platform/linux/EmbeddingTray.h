#pragma once

#include <QObject>

namespace tavrik {

/// The tray of bars that embed the icons' own windows. Main thread only.
class EmbeddingTray : public QObject {
    Q_OBJECT

public:
    /// Whether such a tray is running.
    virtual bool isRunning() const = 0;

Q_SIGNALS:
    /// A tray has started.
    void started();
};

} // namespace tavrik
