#pragma once

#include <QByteArray>
#include <QtEndian>

namespace tavrik::bench {

/// A recording in Tavrik's own format: 16 kHz, mono, 16 bit, every sample at `amplitude` or its negative.
inline QByteArray wav(double seconds, qint16 amplitude = 1000) {
    const auto number = [](auto value) {
        QByteArray bytes(sizeof value, 0);
        qToLittleEndian(value, bytes.data());
        return bytes;
    };
    QByteArray samples;
    for (int i = 0; i < static_cast<int>(seconds * 16000); ++i)
        samples += number(static_cast<qint16>(i % 2 ? amplitude : -amplitude));
    return "RIFF" + number(static_cast<quint32>(36 + samples.size())) + "WAVEfmt " + number(quint32{16}) +
           number(quint16{1}) + number(quint16{1}) + number(quint32{16000}) + number(quint32{32000}) +
           number(quint16{2}) + number(quint16{16}) + "data" + number(static_cast<quint32>(samples.size())) +
           samples;
}

} // namespace tavrik::bench
