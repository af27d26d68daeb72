#include "platform/wayland/ActiveWindow.h"

#include "protocols/plasma-window-management.h"
#include "protocols/wlr-foreign-toplevel-management-unstable-v1.h"

#include <wayland-client.h>

#include <algorithm>
#include <span>
#include <utility>

namespace tavrik {

/// The windows, as the compositor lists them when asked.
class ActiveWindow::Query {
public:
    /// Null if the compositor does not list them.
    static std::unique_ptr<Query> begin(const WaylandConnection& connection);

    Query() = default;
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;
    virtual ~Query() = default;

    /// How many times the compositor must be waited for.
    int roundTrips = 1;

    virtual Answer answer() const = 0;
};

namespace {

/// Handle: the protocol's object for a window.
template<class Handle>
struct Window {
    explicit Window(Handle* object) : handle(object) {}

    WaylandPointer<Handle> handle;
    ActiveWindow::Answer answer;
    bool isActive = false;
};

template<class Handle>
using Windows = std::vector<std::unique_ptr<Window<Handle>>>;

template<class Handle>
ActiveWindow::Answer activeOf(const Windows<Handle>& windows) {
    const auto active = std::ranges::find_if(windows, [](const auto& window) { return window->isActive; });
    return active == windows.end() ? ActiveWindow::Answer() : (*active)->answer;
}

/// Knows its name once the compositor has told it.
struct Output {
    explicit Output(WaylandPointer<wl_output> object) : handle(std::move(object)) {
        static constexpr wl_output_listener listener{
            .geometry = [](void*, wl_output*, int32_t, int32_t, int32_t, int32_t, int32_t, const char*,
                           const char*, int32_t) {},
            .mode = [](void*, wl_output*, uint32_t, int32_t, int32_t, int32_t) {},
            .done = [](void*, wl_output*) {},
            .scale = [](void*, wl_output*, int32_t) {},
            .name = [](void* self, wl_output*,
                       const char* text) { static_cast<Output*>(self)->name = QString::fromUtf8(text); },
            .description = [](void*, wl_output*, const char*) {},
        };
        wl_output_add_listener(handle.get(), &listener, this);
    }

    WaylandPointer<wl_output> handle;
    QString name;
};

class WlrootsQuery : public ActiveWindow::Query {
    using Manager = zwlr_foreign_toplevel_manager_v1;
    using Handle = zwlr_foreign_toplevel_handle_v1;

public:
    explicit WlrootsQuery(const WaylandConnection& connection) {
        // Before the windows, which tell only of outputs that are bound.
        for (auto& output : connection.bindOutputs())
            m_outputs.push_back(std::make_unique<Output>(std::move(output)));
        m_manager = connection.bind<Manager>(zwlr_foreign_toplevel_manager_v1_interface, 1);
        static constexpr zwlr_foreign_toplevel_manager_v1_listener listener{
            .toplevel = [](void* self, Manager*,
                           Handle* handle) { static_cast<WlrootsQuery*>(self)->add(handle); },
            .finished = [](void*, Manager*) {},
        };
        zwlr_foreign_toplevel_manager_v1_add_listener(m_manager.get(), &listener, this);
    }
    ~WlrootsQuery() override { zwlr_foreign_toplevel_manager_v1_stop(m_manager.get()); }

    ActiveWindow::Answer answer() const override { return activeOf(m_windows); }

private:
    void add(Handle* handle) {
        static constexpr zwlr_foreign_toplevel_handle_v1_listener listener{
            .title = [](void*, Handle*, const char*) {},
            .app_id = [](void* window, Handle*,
                         const char* id) { static_cast<Window<Handle>*>(window)->answer.names = {id}; },
            .output_enter =
                [](void* window, Handle*, wl_output* output) {
                    static_cast<Window<Handle>*>(window)->answer.output =
                        static_cast<Output*>(wl_output_get_user_data(output))->name;
                },
            .output_leave = [](void*, Handle*, wl_output*) {},
            .state =
                [](void* window, Handle*, wl_array* array) {
                    const std::span states(static_cast<const quint32*>(array->data),
                                           array->size / sizeof(quint32));
                    static_cast<Window<Handle>*>(window)->isActive =
                        std::ranges::count(states, ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED) > 0;
                },
            .done = [](void*, Handle*) {},
            .closed = [](void*, Handle*) {},
        };
        m_windows.push_back(std::make_unique<Window<Handle>>(handle));
        zwlr_foreign_toplevel_handle_v1_add_listener(handle, &listener, m_windows.back().get());
    }

    std::vector<std::unique_ptr<Output>> m_outputs;
    WaylandPointer<Manager> m_manager;
    Windows<Handle> m_windows;
};

class PlasmaQuery : public ActiveWindow::Query {
    using Manager = org_kde_plasma_window_management;
    using Handle = org_kde_plasma_window;

public:
    explicit PlasmaQuery(WaylandPointer<Manager> manager) : m_manager(std::move(manager)) {
        static constexpr org_kde_plasma_window_management_listener listener{
            .show_desktop_changed = [](void*, Manager*, uint32_t) {},
            .window = [](void*, Manager*, uint32_t) {},
            .stacking_order_changed = [](void*, Manager*, wl_array*) {},
            .stacking_order_uuid_changed = [](void*, Manager*, const char*) {},
            .window_with_uuid = [](void* self, Manager*, uint32_t,
                                   const char* uuid) { static_cast<PlasmaQuery*>(self)->add(uuid); },
        };
        // The list, then what is asked about each.
        roundTrips = 2;
        org_kde_plasma_window_management_add_listener(m_manager.get(), &listener, this);
    }

    ActiveWindow::Answer answer() const override { return activeOf(m_windows); }

private:
    void add(const char* uuid) {
        static constexpr org_kde_plasma_window_listener listener{
            .title_changed = [](void*, Handle*, const char*) {},
            .app_id_changed =
                [](void* window, Handle*, const char* applicationId) {
                    static_cast<Window<Handle>*>(window)->answer.names << applicationId;
                },
            .state_changed =
                [](void* window, Handle*, uint32_t flags) {
                    static_cast<Window<Handle>*>(window)->isActive =
                        (flags & ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_ACTIVE) != 0;
                },
            .virtual_desktop_changed = [](void*, Handle*, int32_t) {},
            .themed_icon_name_changed = [](void*, Handle*, const char*) {},
            .unmapped = [](void*, Handle*) {},
            .initial_state = [](void*, Handle*) {},
            .parent_window = [](void*, Handle*, Handle*) {},
            .geometry = [](void*, Handle*, int32_t, int32_t, uint32_t, uint32_t) {},
            .icon_changed = [](void*, Handle*) {},
            .pid_changed = [](void*, Handle*, uint32_t) {},
            .virtual_desktop_entered = [](void*, Handle*, const char*) {},
            .virtual_desktop_left = [](void*, Handle*, const char*) {},
            .application_menu = [](void*, Handle*, const char*, const char*) {},
            .activity_entered = [](void*, Handle*, const char*) {},
            .activity_left = [](void*, Handle*, const char*) {},
            // Of X programs; their application id is the name of a desktop file.
            .resource_name_changed =
                [](void* window, Handle*, const char* name) {
                    static_cast<Window<Handle>*>(window)->answer.names << name;
                },
        };
        m_windows.push_back(std::make_unique<Window<Handle>>(
            org_kde_plasma_window_management_get_window_by_uuid(m_manager.get(), uuid)));
        auto& window = *m_windows.back();
        org_kde_plasma_window_add_listener(window.handle.get(), &listener, &window);
    }

    const WaylandPointer<Manager> m_manager;
    Windows<Handle> m_windows;
};

} // namespace

std::unique_ptr<ActiveWindow::Query> ActiveWindow::Query::begin(const WaylandConnection& connection) {
    if (connection.version(zwlr_foreign_toplevel_manager_v1_interface) > 0)
        return std::make_unique<WlrootsQuery>(connection);
    // The oldest that Plasma itself still uses: KWin crashes when a window is asked for in the way of the
    // first ones.
    constexpr quint32 plasmaVersion = 16;
    if (connection.version(org_kde_plasma_window_management_interface) >= plasmaVersion)
        return std::make_unique<PlasmaQuery>(connection.bind<org_kde_plasma_window_management>(
            org_kde_plasma_window_management_interface, plasmaVersion));
    return nullptr;
}

ActiveWindow::ActiveWindow(WaylandConnection& connection) : m_connection(connection) {}

ActiveWindow::~ActiveWindow() = default;

void ActiveWindow::ask(std::function<void(const Answer&)> answered) {
    if (!m_query) {
        m_query = Query::begin(m_connection);
        if (!m_query)
            return answered({});
        m_connection.afterRequests(this, [this] { advance(); });
    }
    m_waiting.push_back(std::move(answered));
}

void ActiveWindow::advance() {
    if (m_connection.isConnected() && --m_query->roundTrips > 0)
        return m_connection.afterRequests(this, [this] { advance(); });
    const auto window = m_query->answer();
    m_query.reset();
    for (const auto& answered : std::exchange(m_waiting, {}))
        answered(window);
}

} // namespace tavrik
