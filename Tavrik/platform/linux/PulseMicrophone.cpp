#include "platform/linux/PulseMicrophone.h"

#include "platform/linux/PulseConnection.h"

#include <optional>
#include <utility>

namespace tavrik {

namespace {

// Less than the interface promises, to leave time for the calls around the waits.
constexpr auto stopLimit = 11 * PA_USEC_PER_MSEC;
constexpr auto fragment = 10 * PA_USEC_PER_MSEC;
/// Buffered time that stop() does not wait for, such as a resampler's.
constexpr auto negligible = PA_USEC_PER_MSEC;
/// No device keeps its samples back for that long.
constexpr auto longestGap = 500 * PA_USEC_PER_MSEC;

constexpr pa_sample_spec format{.format = PA_SAMPLE_S16LE, .rate = Microphone::sampleRate, .channels = 1};

class PulseCapture final : public Microphone::Capture {
public:
    PulseCapture(std::shared_ptr<PulseConnection> connection, Microphone::Sink sink)
        : m_connection(std::move(connection)), m_sink(std::move(sink)) {}

    ~PulseCapture() override {
        const PulseConnection::Lock lock(*m_connection);
        close();
    }

    Result<void> start(pa_usec_t deadline);
    Result<void> stop() override;

private:
    bool isAlive() const { return PA_STREAM_IS_GOOD(pa_stream_get_state(m_stream.get())); }
    void read();
    void close();

    std::shared_ptr<PulseConnection> m_connection;
    Microphone::Sink m_sink;
    PulsePointer<pa_stream> m_stream;
    qint64 m_received = 0; // bytes
    pa_usec_t m_lastRead = 0;
    std::optional<qint64> m_target; // bytes captured up to stop(), once the server has answered
};

Result<void> PulseCapture::start(pa_usec_t deadline) {
    const PulseConnection::Lock lock(*m_connection);
    const auto context = m_connection->awaitReady(deadline);
    if (!context)
        return std::unexpected(context.error());

    // No media role: the user's choice of device would then hold for every program of that role.
    m_stream.reset(pa_stream_new(*context, "Dictation", &format, nullptr));
    pa_stream_set_state_callback(
        m_stream.get(),
        [](pa_stream*, void* self) { static_cast<PulseCapture*>(self)->m_connection->wake(); }, this);
    pa_stream_set_read_callback(
        m_stream.get(), [](pa_stream*, std::size_t, void* self) { static_cast<PulseCapture*>(self)->read(); },
        this);
    constexpr auto serverDefault = static_cast<quint32>(-1);
    const pa_buffer_attr buffer{.maxlength = serverDefault,
                                .tlength = serverDefault,
                                .prebuf = serverDefault,
                                .minreq = serverDefault,
                                .fragsize = static_cast<quint32>(pa_usec_to_bytes(fragment, &format))};
    pa_stream_connect_record(m_stream.get(), nullptr, &buffer, PA_STREAM_ADJUST_LATENCY);
    m_connection->waitUntil(
        deadline, [this] { return pa_stream_get_state(m_stream.get()) == PA_STREAM_READY || !isAlive(); });
    if (pa_stream_get_state(m_stream.get()) == PA_STREAM_READY)
        return {};
    if (isAlive()) {
        // Otherwise the server might open the microphone later, with nobody to close it.
        m_connection->drop();
        return std::unexpected(PulseConnection::error(PA_ERR_TIMEOUT));
    }
    const auto code = pa_context_errno(*context);
    if (code == PA_ERR_NOENTITY)
        return std::unexpected(PulseConnection::noMicrophone());
    return std::unexpected(PulseConnection::error(code));
}

Result<void> PulseCapture::stop() {
    const auto deadline = pa_rtclock_now() + stopLimit;
    const PulseConnection::Lock lock(*m_connection);
    if (isAlive()) {
        // The microphone's position in bytes of this stream: what the server has sent plus what the device
        // still holds.
        const auto onTiming = [](pa_stream* stream, int, void* self) {
            auto& capture = *static_cast<PulseCapture*>(self);
            if (const auto* timing = pa_stream_get_timing_info(stream)) {
                const auto held = timing->source_usec > negligible ? timing->source_usec : 0;
                capture.m_target = timing->write_index + static_cast<qint64>(pa_usec_to_bytes(held, &format));
            }
            capture.m_connection->wake();
        };
        const PulsePointer<pa_operation> query(pa_stream_update_timing_info(m_stream.get(), onTiming, this));
        m_connection->waitUntil(deadline,
                                [this] { return !isAlive() || (m_target && m_received >= *m_target); });
        if (query)
            pa_operation_cancel(query.get());
    }
    Result<void> outcome;
    if (!isAlive())
        outcome = std::unexpected(Error{QStringLiteral("The sound server closed the microphone.")});
    else if (m_received > 0 && pa_rtclock_now() - m_lastRead > longestGap)
        outcome = std::unexpected(Error{QStringLiteral("No more sound came from the microphone.")});
    close();
    return outcome;
}

void PulseCapture::read() {
    const void* data = nullptr;
    std::size_t size = 0;
    m_lastRead = pa_rtclock_now();
    while (pa_stream_peek(m_stream.get(), &data, &size) == 0 && size > 0) {
        if (data)
            m_sink({static_cast<const qint16*>(data), size / sizeof(qint16)});
        pa_stream_drop(m_stream.get());
        m_received += static_cast<qint64>(size);
    }
    m_connection->wake();
}

void PulseCapture::close() {
    if (!m_stream)
        return;
    pa_stream_set_state_callback(m_stream.get(), nullptr, nullptr);
    pa_stream_set_read_callback(m_stream.get(), nullptr, nullptr);
    pa_stream_disconnect(m_stream.get());
    m_stream.reset();
}

} // namespace

PulseMicrophone::PulseMicrophone(std::shared_ptr<PulseConnection> connection)
    : m_connection(std::move(connection)) {
    connect(m_connection.get(), &PulseConnection::changed, this, &PulseMicrophone::statusChanged);
}

ServiceStatus PulseMicrophone::status() const {
    return m_connection->status(PulseConnection::Use::recording);
}

void PulseMicrophone::requestAccess() {
    const PulseConnection::Lock lock(*m_connection);
    m_connection->openInBackground();
}

Result<std::unique_ptr<Microphone::Capture>> PulseMicrophone::start(Sink sink) {
    const auto deadline = pa_rtclock_now() + PulseConnection::startLimit;
    auto capture = std::make_unique<PulseCapture>(m_connection, std::move(sink));
    if (auto started = capture->start(deadline); !started)
        return std::unexpected(std::move(started.error()));
    return capture;
}

} // namespace tavrik
