#include "platform/linux/PulseConnection.h"

#include <utility>

namespace tavrik {

PulseConnection::PulseConnection() : m_loop(pa_threaded_mainloop_new()) {
    pa_threaded_mainloop_set_name(m_loop.get(), "sound");
    pa_threaded_mainloop_start(m_loop.get());
}

PulseConnection::~PulseConnection() {
    {
        const Lock lock(*this);
        drop();
    }
    pa_threaded_mainloop_stop(m_loop.get());
}

void PulseConnection::openInBackground() {
    pa_mainloop_api_once(
        pa_threaded_mainloop_get_api(m_loop.get()),
        [](pa_mainloop_api*, void* self) { static_cast<PulseConnection*>(self)->open(); }, this);
}

void PulseConnection::open() {
    if (m_context && PA_CONTEXT_IS_GOOD(pa_context_get_state(m_context.get())))
        return;
    drop();
    const PulsePointer<pa_proplist> properties(pa_proplist_new());
    pa_proplist_sets(properties.get(), PA_PROP_APPLICATION_ID, "io.nordvex.tavrik");
    pa_proplist_sets(properties.get(), PA_PROP_APPLICATION_ICON_NAME, "io.nordvex.tavrik");
    m_context.reset(
        pa_context_new_with_proplist(pa_threaded_mainloop_get_api(m_loop.get()), "Tavrik", properties.get()));
    pa_context_set_state_callback(
        m_context.get(),
        [](pa_context*, void* self) { static_cast<PulseConnection*>(self)->onStateChanged(); }, this);
    // Starting a server would block until it is up; desktops start theirs themselves. A failure shows as the
    // state.
    pa_context_connect(m_context.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
}

void PulseConnection::whenReady(Ready ready) {
    open();
    if (pa_context_get_state(m_context.get()) == PA_CONTEXT_READY)
        ready(m_context.get());
    else
        m_whenReady = std::move(ready);
}

Result<pa_context*> PulseConnection::awaitReady(pa_usec_t deadline) {
    open();
    auto state = PA_CONTEXT_UNCONNECTED;
    waitUntil(deadline, [&] {
        state = pa_context_get_state(m_context.get());
        return state == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state);
    });
    if (state == PA_CONTEXT_READY)
        return m_context.get();
    const auto code = PA_CONTEXT_IS_GOOD(state) ? PA_ERR_TIMEOUT : pa_context_errno(m_context.get());
    drop();
    return std::unexpected(error(code));
}

bool PulseConnection::waitUntil(pa_usec_t deadline, const std::function<bool()>& done) {
    if (done())
        return true;
    struct Alarm {
        PulseConnection& connection;
        bool rang = false;
    } alarm{*this};
    auto* const timer = pa_context_rttime_new(
        m_context.get(), deadline,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* userdata) {
            auto& due = *static_cast<Alarm*>(userdata);
            due.rang = true;
            due.connection.wake();
        },
        &alarm);
    bool met = false;
    while (!(met = done()) && !alarm.rang)
        pa_threaded_mainloop_wait(m_loop.get());
    pa_threaded_mainloop_get_api(m_loop.get())->time_free(timer);
    return met;
}

ServiceStatus PulseConnection::status(Use use) {
    const Lock lock(*this);
    const auto deadline = pa_rtclock_now() + startLimit;
    const auto backend = QStringLiteral("PulseAudio");
    const auto context = awaitReady(deadline);
    if (!context)
        return {backend, false, context.error().description};
    if (use == Use::playing)
        return {backend, true};

    struct Question {
        PulseConnection& connection;
        bool answered = false;
        bool hasSource = false;
    } question{*this};
    const PulsePointer<pa_operation> query(pa_context_get_server_info(
        *context,
        [](pa_context*, const pa_server_info* info, void* userdata) {
            auto& asked = *static_cast<Question*>(userdata);
            asked.answered = true;
            asked.hasSource = info && info->default_source_name && *info->default_source_name != '\0';
            asked.connection.wake();
        },
        &question));
    waitUntil(deadline, [&] {
        return question.answered || !PA_CONTEXT_IS_GOOD(pa_context_get_state(m_context.get()));
    });
    if (query)
        pa_operation_cancel(query.get());
    if (!question.answered)
        return {backend, false, error(PA_ERR_TIMEOUT).description};
    return question.hasSource ? ServiceStatus{backend, true}
                              : ServiceStatus{backend, false, noMicrophone().description};
}

void PulseConnection::drop() {
    m_whenReady = nullptr;
    if (!m_context)
        return;
    pa_context_set_state_callback(m_context.get(), nullptr, nullptr);
    pa_context_disconnect(m_context.get());
    m_context.reset();
}

Error PulseConnection::noMicrophone() {
    return {QStringLiteral("No microphone was found.")};
}

Error PulseConnection::error(int code) {
    if (code == PA_ERR_TIMEOUT)
        return {QStringLiteral("The sound server does not answer.")};
    return {
        QStringLiteral("The sound server cannot be used (%1).").arg(QString::fromUtf8(pa_strerror(code)))};
}

void PulseConnection::onStateChanged() {
    const auto state = pa_context_get_state(m_context.get());
    if (state == PA_CONTEXT_READY && m_whenReady)
        std::exchange(m_whenReady, nullptr)(m_context.get());
    if (!PA_CONTEXT_IS_GOOD(state))
        m_whenReady = nullptr;
    if (state == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state))
        QMetaObject::invokeMethod(this, &PulseConnection::changed, Qt::QueuedConnection);
    wake();
}

} // namespace tavrik
