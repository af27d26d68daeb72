#include "platform/wayland/WaylandConnection.h"

#include <QDeadlineTimer>
#include <QSocketNotifier>

#include <poll.h>
#include <wayland-client.h>

#include <algorithm>
#include <cerrno>
#include <utility>

using namespace std::chrono_literals;

namespace tavrik {

namespace {

/// Takes in what has arrived and calls the listeners. False if the compositor is lost.
bool readEvents(wl_display* display) {
    while (wl_display_prepare_read(display) != 0)
        wl_display_dispatch_pending(display);
    return wl_display_read_events(display) == 0 && wl_display_dispatch_pending(display) >= 0;
}

} // namespace

WaylandConnection::WaylandConnection() {
    // Without a name libwayland looks for a compositor at the usual place, which may be that of another
    // session.
    const auto name = qgetenv("WAYLAND_DISPLAY");
    // A socket handed down is for the windows.
    if (name.isEmpty() || qEnvironmentVariableIsSet("WAYLAND_SOCKET"))
        return;
    wl_log_set_handler_client([](const char*, va_list) {});
    m_display = wl_display_connect(name.constData());
    if (!m_display)
        return;
    static constexpr wl_registry_listener listener{
        .global =
            [](void* self, wl_registry*, uint32_t global, const char* interface, uint32_t offered) {
                auto& connection = *static_cast<WaylandConnection*>(self);
                if (qstrcmp(interface, wl_output_interface.name) == 0)
                    connection.m_outputs.push_back({global, offered});
                if (!connection.m_globals.contains(interface))
                    connection.m_globals.insert(interface, {global, offered});
                if (connection.m_connected)
                    Q_EMIT connection.globalsChanged();
            },
        .global_remove =
            [](void* self, wl_registry*, uint32_t global) {
                auto& connection = *static_cast<WaylandConnection*>(self);
                std::erase_if(connection.m_outputs,
                              [global](const Global& output) { return output.name == global; });
                const auto removed = connection.m_globals.removeIf(
                    [global](const auto& entry) { return entry.value().name == global; });
                if (removed > 0)
                    Q_EMIT connection.globalsChanged();
            },
    };
    m_registry.reset(wl_display_get_registry(m_display));
    wl_registry_add_listener(m_registry.get(), &listener, this);
    if (!waitForGlobals(3s))
        return;
    m_connected = true;

    const int socket = wl_display_get_fd(m_display);
    m_readable = new QSocketNotifier(socket, QSocketNotifier::Read, this);
    m_writable = new QSocketNotifier(socket, QSocketNotifier::Write, this);
    m_writable->setEnabled(false);
    connect(m_readable, &QSocketNotifier::activated, this, &WaylandConnection::read);
    connect(m_writable, &QSocketNotifier::activated, this, &WaylandConnection::flush);
}

WaylandConnection::~WaylandConnection() {
    m_syncs.clear();
    m_registry.reset();
    if (m_display)
        wl_display_disconnect(m_display);
}

QString WaylandConnection::disconnectedReason() {
    return QStringLiteral("The Wayland compositor cannot be reached. Start Tavrik again.");
}

quint32 WaylandConnection::version(const char* interface) const {
    return m_connected ? m_globals.value(interface).version : 0;
}

quint32 WaylandConnection::version(const wl_interface& interface) const {
    return version(interface.name);
}

void* WaylandConnection::bindGlobal(const wl_interface& interface, quint32 highestVersion) const {
    const auto offered = version(interface);
    if (offered == 0)
        return nullptr;
    return wl_registry_bind(m_registry.get(), m_globals.value(interface.name).name, &interface,
                            std::min(offered, highestVersion));
}

std::vector<WaylandPointer<wl_output>> WaylandConnection::bindOutputs() const {
    // The first version that tells the name.
    constexpr quint32 outputVersion = 4;
    std::vector<WaylandPointer<wl_output>> outputs;
    for (const auto& [name, offered] : m_connected ? m_outputs : std::vector<Global>())
        outputs.emplace_back(static_cast<wl_output*>(wl_registry_bind(
            m_registry.get(), name, &wl_output_interface, std::min(offered, outputVersion))));
    return outputs;
}

void WaylandConnection::flush() {
    if (!m_connected)
        return;
    const bool full = wl_display_flush(m_display) < 0 && errno == EAGAIN;
    m_writable->setEnabled(full);
    checkConnection();
}

void WaylandConnection::afterRequests(const QObject* owner, std::function<void()> done) {
    if (!m_connected)
        return done();
    static constexpr wl_callback_listener listener{
        .done =
            [](void* data, wl_callback*, uint32_t) {
                auto& syncs = static_cast<Sync*>(data)->connection.m_syncs;
                const auto position = std::ranges::find(syncs, data, &std::unique_ptr<Sync>::get);
                const auto sync = std::move(*position);
                syncs.erase(position);
                if (sync->owner)
                    sync->done();
            },
    };
    auto& sync = m_syncs.emplace_back(
        new Sync{*this, owner, std::move(done), WaylandPointer<wl_callback>(wl_display_sync(m_display))});
    wl_callback_add_listener(sync->callback.get(), &listener, sync.get());
    flush();
}

bool WaylandConnection::waitForGlobals(std::chrono::milliseconds bound) {
    bool done = false;
    static constexpr wl_callback_listener listener{
        .done = [](void* flag, wl_callback*, uint32_t) { *static_cast<bool*>(flag) = true; },
    };
    const WaylandPointer<wl_callback> callback(wl_display_sync(m_display));
    wl_callback_add_listener(callback.get(), &listener, &done);
    for (const QDeadlineTimer deadline(bound); !done && !deadline.hasExpired();) {
        wl_display_flush(m_display);
        pollfd socket{.fd = wl_display_get_fd(m_display), .events = POLLIN, .revents = 0};
        if (::poll(&socket, 1, static_cast<int>(deadline.remainingTime())) > 0 && !readEvents(m_display))
            return false;
    }
    return done;
}

void WaylandConnection::read() {
    readEvents(m_display);
    flush();
}

void WaylandConnection::checkConnection() {
    if (!m_connected || wl_display_get_error(m_display) == 0)
        return;
    m_connected = false;
    m_readable->setEnabled(false);
    m_writable->setEnabled(false);
    for (const auto& sync : std::exchange(m_syncs, {}))
        if (sync->owner)
            sync->done();
    Q_EMIT disconnected();
}

} // namespace tavrik
