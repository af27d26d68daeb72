#pragma once

#include "platform/wayland/WaylandConnection.h"

#include <QByteArrayList>

#include <functional>
#include <memory>
#include <vector>

namespace tavrik {

/// Finds out which window has the keyboard, where the compositor tells. Asks afresh every time and costs
/// nothing in between. Main thread only.
class ActiveWindow : public QObject {
    Q_OBJECT

public:
    class Query;

    struct Answer {
        /// The program's application id, and what else the compositor calls it; none if that cannot be told.
        QByteArrayList names;
        /// The output that shows the window, as "DP-1"; empty if that cannot be told.
        QString output;
    };

    explicit ActiveWindow(WaylandConnection& connection);
    ~ActiveWindow() override;

    /// `answered` is called once, perhaps within this call; not after this is destroyed.
    void ask(std::function<void(const Answer& window)> answered);

private:
    void advance();

    WaylandConnection& m_connection;
    std::unique_ptr<Query> m_query;
    std::vector<std::function<void(const Answer&)>> m_waiting;
};

} // namespace tavrik
