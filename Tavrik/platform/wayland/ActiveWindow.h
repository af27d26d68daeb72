#pragma once

#include "platform/wayland/WaylandConnection.h"

#include <QByteArrayList>

#include <functional>
#include <memory>
#include <vector>

namespace tavrik {

/// Finds out which program's window has the keyboard, where the compositor tells. Asks afresh every time and
/// costs nothing in between. Main thread only.
class ActiveWindow : public QObject {
    Q_OBJECT

public:
    class Query;

    explicit ActiveWindow(WaylandConnection& connection);
    ~ActiveWindow() override;

    /// `answered` gets the names of the program: its application id, and what else the compositor calls it;
    /// none if that cannot be told. Called once, perhaps within this call; not after this is destroyed.
    void ask(std::function<void(const QByteArrayList& names)> answered);

private:
    void advance();

    WaylandConnection& m_connection;
    std::unique_ptr<Query> m_query;
    std::vector<std::function<void(const QByteArrayList&)>> m_waiting;
};

} // namespace tavrik
