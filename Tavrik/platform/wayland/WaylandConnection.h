#pragma once

#include "platform/wayland/WaylandPointer.h"

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QPointer>

#include <chrono>
#include <functional>
#include <vector>

struct wl_display;
struct wl_interface;
class QSocketNotifier;

namespace tavrik {

/// A connection of the program's own to the Wayland compositor, whatever the windows are shown on. It costs
/// nothing while the compositor has nothing to say. When the compositor is lost, objects bound here do
/// nothing more. They must be destroyed before this. Main thread only; needs the application object.
class WaylandConnection : public QObject {
    Q_OBJECT

public:
    /// Connects to the compositor behind WAYLAND_DISPLAY, if there is one, and waits for the list of what it
    /// offers. Usually that takes a millisecond, at login longer; three seconds at most.
    WaylandConnection();
    ~WaylandConnection() override;

    /// Whether there is a compositor, and it has answered.
    bool isConnected() const { return m_connected; }

    /// Why nothing works after the compositor was lost, for the user.
    static QString disconnectedReason();

    /// The version in which the compositor offers the interface; 0 if it does not.
    quint32 version(const char* interface) const;
    quint32 version(const wl_interface& interface) const;

    /// An object of the interface, in the lower of the version offered and the one given (which must be the
    /// highest that the protocol's definition here knows). Null if the interface is not offered.
    template<class T>
    WaylandPointer<T> bind(const wl_interface& interface, quint32 highestVersion) const {
        return WaylandPointer<T>(static_cast<T*>(bindGlobal(interface, highestVersion)));
    }

    /// All the outputs.
    std::vector<WaylandPointer<wl_output>> bindOutputs() const;

    /// Sends what was requested. Never waits.
    void flush();

    /// Sends what was requested, and calls `done` when the compositor has carried it out, or is lost; unless
    /// `owner` is gone by then.
    void afterRequests(const QObject* owner, std::function<void()> done);

Q_SIGNALS:
    /// The compositor offers something more, or takes something back.
    void globalsChanged();
    /// The compositor is gone, for good.
    void disconnected();

private:
    struct Global {
        quint32 name;
        quint32 version;
    };

    struct Sync {
        WaylandConnection& connection;
        QPointer<const QObject> owner;
        std::function<void()> done;
        WaylandPointer<wl_callback> callback;
    };

    void* bindGlobal(const wl_interface& interface, quint32 highestVersion) const;
    bool waitForGlobals(std::chrono::milliseconds bound);
    void read();
    void checkConnection();

    wl_display* m_display = nullptr;
    WaylandPointer<wl_registry> m_registry;
    /// The first of each interface.
    QHash<QByteArray, Global> m_globals;
    std::vector<Global> m_outputs;
    bool m_connected = false;
    std::vector<std::unique_ptr<Sync>> m_syncs;
    QSocketNotifier* m_readable = nullptr;
    QSocketNotifier* m_writable = nullptr;
};

} // namespace tavrik
