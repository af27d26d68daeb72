#pragma once

#include "base/Result.h"

#include <QFile>

#include <memory>
#include <span>

namespace tavrik {

/// A new RIFF/WAVE file of 16 kHz mono 16-bit samples that grows while it is spoken into. One thread at a
/// time.
class WavFile {
public:
    /// Makes the file, readable by its owner only. Fails, leaving nothing behind, where the folder cannot be
    /// written or a file of that name exists.
    static Result<std::unique_ptr<WavFile>> create(const QString& path);

    WavFile(const WavFile&) = delete;
    WavFile& operator=(const WavFile&) = delete;

    /// Finishes the file.
    ~WavFile();

    QString path() const { return m_file.fileName(); }

    /// Writes the samples at the end. Once the disk is full the rest is dropped.
    void append(std::span<const qint16> samples);

    /// States the length in the header and closes the file. Until then the header says that the length is
    /// unknown and the samples reach to the end of the file, as recorders that write into a pipe do.
    void finish();

    /// Closes the file and deletes it.
    void discard();

private:
    explicit WavFile(const QString& path);

    bool write(const void* bytes, qint64 size);

    QFile m_file;
    bool m_full = false;
};

} // namespace tavrik
