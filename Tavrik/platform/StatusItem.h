#pragma once

#include "platform/Service.h"

#include <QList>
#include <QString>

#include <functional>

namespace tavrik {

/// One row of the status item's menu.
struct MenuItem {
    enum class Kind { action, label, separator };

    Kind kind = Kind::action;
    QString title = {};
    /// The key of its shortcut while the menu is open ("o"), or empty.
    QString keyEquivalent = {};
    /// Run on the main thread when chosen. An item without one is disabled.
    std::function<void()> action = {};
};

/// The program's icon in the desktop's status bar. Main thread only.
class StatusItem : public Service {
public:
    /// Shows the named symbol ("mic"). The description is for screen readers and the tooltip.
    virtual void setImage(const QString& symbol, const QString& description) = 0;

    /// What the tooltip says below the description, or nothing when empty.
    virtual void setNote(const QString& note) = 0;

    /// Installs the menu, replacing the previous one.
    virtual void setMenu(const QList<MenuItem>& items) = 0;
};

} // namespace tavrik
