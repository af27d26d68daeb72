#include "platform/linux/PulseSoundPlayer.h"

#include "platform/linux/PulseConnection.h"

#include <QResource>

#include <utility>

namespace tavrik {

namespace {

// The format of the files.
constexpr pa_sample_spec format{.format = PA_SAMPLE_S16LE, .rate = 44100, .channels = 1};
constexpr qsizetype headerSize = 44;

/// The samples, not copied out of the executable.
QByteArray samplesOf(const char* name) {
    const QResource file(QStringLiteral(":/sounds/%1.wav").arg(QLatin1String(name)));
    return QByteArray::fromRawData(reinterpret_cast<const char*>(file.data()) + headerSize,
                                   file.size() - headerSize);
}

// Plays one sound on the connection's thread. Deletes itself when its stream ends, also when it is refused or
// the connection fails.
class Playback {
public:
    static void begin(pa_context* context, const QByteArray& samples) { new Playback(context, samples); }

private:
    Playback(pa_context* context, const QByteArray& samples) : m_samples(samples) {
        const PulsePointer<pa_proplist> properties(pa_proplist_new());
        pa_proplist_sets(properties.get(), PA_PROP_MEDIA_ROLE, "event");
        m_stream.reset(pa_stream_new_with_proplist(context, "Tavrik", &format, nullptr, properties.get()));
        pa_stream_set_state_callback(
            m_stream.get(), [](pa_stream*, void* self) { static_cast<Playback*>(self)->onStateChanged(); },
            this);
        pa_stream_connect_playback(m_stream.get(), nullptr, nullptr, PA_STREAM_NOFLAGS, nullptr, nullptr);
    }

    void onStateChanged() {
        const auto state = pa_stream_get_state(m_stream.get());
        if (state == PA_STREAM_READY)
            play();
        else if (!PA_STREAM_IS_GOOD(state))
            delete this;
    }

    void play() {
        pa_stream_write(m_stream.get(), m_samples.constData(), static_cast<std::size_t>(m_samples.size()),
                        nullptr, 0, PA_SEEK_RELATIVE);
        const auto onPlayed = [](pa_stream* stream, int, void*) {
            pa_stream_disconnect(stream);
        };
        PulsePointer<pa_operation>(pa_stream_drain(m_stream.get(), onPlayed, nullptr));
    }

    QByteArray m_samples;
    PulsePointer<pa_stream> m_stream;
};

} // namespace

PulseSoundPlayer::PulseSoundPlayer(std::shared_ptr<PulseConnection> connection)
    : m_connection(std::move(connection)),
      m_samples{samplesOf("pop"), samplesOf("glass"), samplesOf("basso")} {
    connect(m_connection.get(), &PulseConnection::changed, this, &PulseSoundPlayer::statusChanged);
}

ServiceStatus PulseSoundPlayer::status() const {
    return m_connection->status(PulseConnection::Use::playing);
}

void PulseSoundPlayer::play(Sound sound) {
    const PulseConnection::Lock lock(*m_connection);
    m_connection->whenReady([samples = m_samples.at(static_cast<std::size_t>(sound))](pa_context* context) {
        Playback::begin(context, samples);
    });
}

} // namespace tavrik
