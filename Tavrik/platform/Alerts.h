#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace tavrik {

struct Alert {
    enum class Style { informational, warning };

    QString messageText = {};
    /// Shown as plain text, whatever it holds.
    QString informativeText = {};
    Style style = Style::warning;
    /// The first is the default. Empty: one confirming button.
    QStringList buttons = {};
    /// What the pointer is told over each button; may be shorter than the buttons.
    QStringList toolTips = {};
    /// Whether the keyboard goes to the alert while another program has it.
    bool activates = true;
    /// Whether the alert may come up under typing hands: keys then do nothing until none was pressed for half
    /// a second. The mouse works at once.
    bool ignoresTyping = false;
};

/// Alerts, modal while the program has the keyboard. While one is open the main queue waits. Main thread
/// only.
class Alerts {
public:
    Alerts() = default;
    Alerts(const Alerts&) = delete;
    Alerts& operator=(const Alerts&) = delete;
    virtual ~Alerts() = default;

    /// Shows the alert over other windows and returns at once. `answered`, if given, gets the index of the
    /// chosen button (closing the alert chooses the last), before anything that waited in the queue. A second
    /// alert waits for the first.
    virtual void show(const Alert& alert, std::function<void(int)> answered = {}) = 0;
};

} // namespace tavrik
