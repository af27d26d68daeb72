#include "mock-server/Wav.h"

#include <QtEndian>

#include <cmath>
#include <optional>

using namespace Qt::StringLiterals;

namespace tavrik::mock {

namespace {

struct Format {
    quint16 tag = 0;
    quint16 channels = 0;
    quint32 rate = 0;
    quint16 bits = 0;
};

template<class T>
T number(QByteArrayView bytes, qsizetype position) {
    return qFromLittleEndian<T>(bytes.data() + position);
}

std::unexpected<Error> invalid(const QString& why) {
    return std::unexpected(Error{why});
}

Sound measure(QByteArrayView samples, const Format& format) {
    const auto count = samples.size() / 2;
    double squares = 0;
    for (qsizetype i = 0; i < count; ++i) {
        const double sample = number<qint16>(samples, i * 2);
        squares += sample * sample;
    }
    const double mean = count > 0 ? squares / static_cast<double>(count) : 0;
    return {.duration = static_cast<double>(count) / format.channels / format.rate,
            .rate = format.rate,
            .channels = format.channels,
            .loudness = 10 * std::log10(mean / (32768.0 * 32768.0))};
}

} // namespace

Result<Sound> measureWav(QByteArrayView wav) {
    constexpr qsizetype riffHeader = 12;
    constexpr qsizetype chunkHeader = 8;
    if (wav.size() < riffHeader || !wav.startsWith("RIFF") || wav.sliced(8, 4) != "WAVE")
        return invalid(u"not a RIFF/WAVE file"_s);

    std::optional<Format> format;
    for (auto position = riffHeader; position + chunkHeader <= wav.size();) {
        const auto name = wav.sliced(position, 4);
        const auto size = qsizetype{number<quint32>(wav, position + 4)};
        position += chunkHeader;
        if (size > wav.size() - position)
            return invalid(u"a chunk is longer than the file"_s);
        if (name == "fmt " && size >= 16) {
            format = Format{number<quint16>(wav, position), number<quint16>(wav, position + 2),
                            number<quint32>(wav, position + 4), number<quint16>(wav, position + 14)};
            if (format->tag != 1 || format->bits != 16 || format->channels == 0 || format->rate == 0)
                return invalid(u"not 16-bit PCM"_s);
        } else if (name == "data") {
            if (!format)
                return invalid(u"the samples come before their format"_s);
            return measure(wav.sliced(position, size), *format);
        }
        // Chunks start at even positions.
        position += size + size % 2;
    }
    return invalid(u"no samples"_s);
}

Result<Sound> measureEncodedWav(const QString& base64) {
    const auto wav =
        QByteArray::fromBase64Encoding(base64.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    return wav && !(*wav).isEmpty() ? measureWav(*wav) : invalid(u"the data is not base64"_s);
}

} // namespace tavrik::mock
