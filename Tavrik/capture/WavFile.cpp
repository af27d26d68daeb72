#include "capture/WavFile.h"

#include "platform/Microphone.h"

#include <sys/file.h>

#include <bit>
#include <limits>
#include <tuple>
#include <utility>

namespace tavrik {

namespace {

static_assert(std::endian::native == std::endian::little,
              "the file is little-endian, and so are the samples");

constexpr quint32 unknownSize = std::numeric_limits<quint32>::max();
constexpr quint16 frameSize = sizeof(qint16);

struct Header {
    char riff[4] = {'R', 'I', 'F', 'F'};
    quint32 riffSize = unknownSize;
    char wave[4] = {'W', 'A', 'V', 'E'};
    char format[4] = {'f', 'm', 't', ' '};
    quint32 formatSize = 16;
    quint16 formatTag = 1; // PCM
    quint16 channels = 1;
    quint32 samplesPerSecond = Microphone::sampleRate;
    quint32 bytesPerSecond = Microphone::sampleRate * frameSize;
    quint16 bytesPerFrame = frameSize;
    quint16 bitsPerSample = 16;
    char data[4] = {'d', 'a', 't', 'a'};
    quint32 dataSize = unknownSize;
};
static_assert(sizeof(Header) == 44);

constexpr quint32 sizeBeforeRiff = 8; // "RIFF" and its size are not counted in that size

} // namespace

WavFile::WavFile(const QString& path) : m_file(path) {}

WavFile::~WavFile() {
    std::ignore = finish();
}

Result<std::unique_ptr<WavFile>> WavFile::create(const QString& path) {
    std::unique_ptr<WavFile> wav(new WavFile(path));
    // Unbuffered, so that the end of a take has nothing left to write.
    if (!wav->m_file.open(QIODevice::NewOnly | QIODevice::Unbuffered, QFile::ReadOwner | QFile::WriteOwner))
        return std::unexpected(Error{wav->m_file.errorString()});
    // Waits for whoever has just looked whether it is one. Where a disk knows no locks, it is never taken for
    // a leftover either.
    ::flock(wav->m_file.handle(), LOCK_EX);
    const Header header;
    if (!wav->write(&header, sizeof header)) {
        Error error{wav->m_file.errorString()};
        wav->discard();
        return std::unexpected(std::move(error));
    }
    return wav;
}

void WavFile::append(std::span<const qint16> samples) {
    if (m_error.isEmpty() && !write(samples.data(), static_cast<qint64>(samples.size_bytes())))
        m_error = m_file.errorString();
}

Result<void> WavFile::finish() {
    if (std::exchange(m_finished, true) || !m_file.isOpen())
        return {};
    const auto dataSize = (m_file.size() - static_cast<qint64>(sizeof(Header))) / frameSize * frameSize;
    m_file.resize(static_cast<qint64>(sizeof(Header)) + dataSize); // a full disk may have taken half a sample
    Header header;
    header.dataSize = static_cast<quint32>(dataSize);
    header.riffSize = header.dataSize + sizeof header - sizeBeforeRiff;
    m_file.seek(0);
    write(&header, sizeof header);
    return m_error.isEmpty() ? Result<void>() : std::unexpected(Error{m_error + u'.'});
}

void WavFile::discard() {
    m_file.close();
    m_file.remove();
}

// A full disk first accepts a part; the next attempt fails and sets the error.
bool WavFile::write(const void* bytes, qint64 size) {
    const auto* next = static_cast<const char*>(bytes);
    while (size > 0) {
        const auto written = m_file.write(next, size);
        if (written <= 0)
            return false;
        next += written;
        size -= written;
    }
    return true;
}

} // namespace tavrik
