#pragma once

#include "base/MainQueue.h"
#include "platform/Alerts.h"

#include <QIcon>

#include <deque>
#include <memory>
#include <optional>

class QMessageBox;

namespace tavrik {

class WindowActivator;

/// Alerts as message boxes, one at a time. No event loop is nested.
class MessageBoxAlerts : public Alerts {
public:
    /// Both must outlive this.
    MessageBoxAlerts(MainQueue& queue, WindowActivator& activator);
    ~MessageBoxAlerts() override;

    void show(const Alert& alert, std::function<void(int)> answered = {}) override;

private:
    struct Pending {
        Alert alert;
        std::function<void(int)> answered;
    };

    void presentNext();
    void finish(int chosen);

    MainQueue& m_queue;
    WindowActivator& m_activator;
    /// One for all boxes: Qt keeps what it has drawn of every single one. Loaded with the first.
    QIcon m_logo;
    QIcon m_warning;
    /// The first is the one on the screen.
    std::deque<Pending> m_pending;
    std::unique_ptr<QMessageBox> m_box;
    std::optional<MainQueue::Hold> m_hold;
};

} // namespace tavrik
