#include "platform/wayland/ActiveWindow.h"

#include "protocols/wlr-foreign-toplevel-management-unstable-v1.h"

#include <wayland-client.h>

#include <algorithm>
#include <span>
#include <utility>

namespace tavrik {

/// The windows, as the compositor lists them when asked.
class ActiveWindow::Query {
public:
    explicit Query(const WaylandConnection& connection)
        : m_manager(connection.bind<zwlr_foreign_toplevel_manager_v1>(
              zwlr_foreign_toplevel_manager_v1_interface, 1)) {
        static constexpr zwlr_foreign_toplevel_manager_v1_listener listener{
            .toplevel =
                [](void* self, zwlr_foreign_toplevel_manager_v1*, zwlr_foreign_toplevel_handle_v1* handle) {
                    static_cast<Query*>(self)->add(handle);
                },
            .finished = [](void*, zwlr_foreign_toplevel_manager_v1*) {},
        };
        zwlr_foreign_toplevel_manager_v1_add_listener(m_manager.get(), &listener, this);
    }
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;
    ~Query() { zwlr_foreign_toplevel_manager_v1_stop(m_manager.get()); }

    QByteArray applicationId() const {
        const auto active =
            std::ranges::find_if(m_windows, [](const auto& window) { return window->isActive; });
        return active == m_windows.end() ? QByteArray() : (*active)->applicationId;
    }

private:
    struct Window {
        WaylandPointer<zwlr_foreign_toplevel_handle_v1> handle;
        QByteArray applicationId;
        bool isActive = false;
    };

    void add(zwlr_foreign_toplevel_handle_v1* handle) {
        using Handle = zwlr_foreign_toplevel_handle_v1;
        static constexpr zwlr_foreign_toplevel_handle_v1_listener listener{
            .title = [](void*, Handle*, const char*) {},
            .app_id = [](void* window, Handle*,
                         const char* id) { static_cast<Window*>(window)->applicationId = id; },
            .output_enter = [](void*, Handle*, wl_output*) {},
            .output_leave = [](void*, Handle*, wl_output*) {},
            .state =
                [](void* window, Handle*, wl_array* array) {
                    const std::span states(static_cast<const quint32*>(array->data),
                                           array->size / sizeof(quint32));
                    static_cast<Window*>(window)->isActive =
                        std::ranges::count(states, ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED) > 0;
                },
            .done = [](void*, Handle*) {},
            .closed = [](void*, Handle*) {},
        };
        m_windows.emplace_back(new Window{WaylandPointer<Handle>(handle), {}});
        zwlr_foreign_toplevel_handle_v1_add_listener(handle, &listener, m_windows.back().get());
    }

    const WaylandPointer<zwlr_foreign_toplevel_manager_v1> m_manager;
    std::vector<std::unique_ptr<Window>> m_windows;
};

ActiveWindow::ActiveWindow(WaylandConnection& connection) : m_connection(connection) {}

ActiveWindow::~ActiveWindow() = default;

void ActiveWindow::ask(std::function<void(const QByteArray&)> answered) {
    if (m_connection.version(zwlr_foreign_toplevel_manager_v1_interface) == 0)
        return answered({});
    m_waiting.push_back(std::move(answered));
    if (m_query)
        return;
    m_query = std::make_unique<Query>(m_connection);
    m_connection.afterRequests(this, [this] { answer(); });
}

void ActiveWindow::answer() {
    const auto applicationId = m_query->applicationId();
    m_query.reset();
    for (const auto& answered : std::exchange(m_waiting, {}))
        answered(applicationId);
}

} // namespace tavrik
