#pragma once

#include "base/Result.h"
#include "platform/Service.h"

#include <QObject>

#include <pulse/pulseaudio.h>

#include <functional>
#include <memory>

namespace tavrik {

struct PulseDeleter {
    void operator()(pa_context* context) const { pa_context_unref(context); }
    void operator()(pa_operation* operation) const { pa_operation_unref(operation); }
    void operator()(pa_proplist* properties) const { pa_proplist_free(properties); }
    void operator()(pa_stream* stream) const { pa_stream_unref(stream); }
    void operator()(pa_threaded_mainloop* loop) const { pa_threaded_mainloop_free(loop); }
};

template<class T>
using PulsePointer = std::unique_ptr<T, PulseDeleter>;

/// The connection to the sound server, with a thread of its own. One context is kept, so that a stream is
/// ready in a fraction of a millisecond. A failed context is replaced when the next one is needed.
/// Construction and destruction on the main thread; all else needs a Lock, which libpulse's callbacks hold
/// already.
class PulseConnection : public QObject {
    Q_OBJECT

public:
    /// How long the server may take to answer, less than a press of the hot key may wait.
    static constexpr auto startLimit = 90 * PA_USEC_PER_MSEC;

    using Ready = std::function<void(pa_context*)>;

    /// Keeps the connection's thread from running callbacks. Main thread only.
    class Lock {
    public:
        explicit Lock(PulseConnection& connection) : m_loop(connection.m_loop.get()) {
            pa_threaded_mainloop_lock(m_loop);
        }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
        ~Lock() { pa_threaded_mainloop_unlock(m_loop); }

    private:
        pa_threaded_mainloop* m_loop;
    };

    PulseConnection();
    ~PulseConnection() override;

    /// Begins to connect in the connection's thread: for that libpulse reads files, and asks for the user's
    /// name.
    void openInBackground();

    /// Calls `ready` once connected, perhaps within this call; never if the connection fails. A second call
    /// replaces a callback that is still waiting.
    void whenReady(Ready ready);

    /// Waits for the connection until `deadline` (in the time of pa_rtclock_now). Main thread.
    Result<pa_context*> awaitReady(pa_usec_t deadline);

    enum class Use { playing, recording };

    /// Whether the server answers, and has a microphone if that is needed. Waits `startLimit` at most. Main
    /// thread, without the Lock.
    ServiceStatus status(Use use);

    /// Waits until `done` is true, evaluated after each wake(). False if the deadline came first. Main
    /// thread, after awaitReady().
    bool waitUntil(pa_usec_t deadline, const std::function<bool()>& done);

    /// Makes waitUntil() evaluate its condition again.
    void wake() { pa_threaded_mainloop_signal(m_loop.get(), 0); }

    /// Closes the connection and with it all its streams, here and in the server.
    void drop();

    /// The error for a server without a source.
    static Error noMicrophone();

    /// The user's message for an error code of libpulse.
    static Error error(int code);

Q_SIGNALS:
    /// The server is there, or has gone. On the main thread, from its event loop.
    void changed();

private:
    /// Begins to connect, unless connected or connecting already. Returns at once.
    void open();
    void onStateChanged();

    PulsePointer<pa_threaded_mainloop> m_loop;
    PulsePointer<pa_context> m_context;
    Ready m_whenReady;
};

} // namespace tavrik
