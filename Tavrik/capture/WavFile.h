#pragma once

#include "base/Result.h"

#include <QFile>

#include <memory>
#include <span>

namespace tavrik {

/// Writes a new RIFF/WAVE file of 16 kHz mono 16-bit samples, which stays locked as long as this lives, so
/// that nobody takes it for a leftover. One thread at a time.
class WavFile {
public:
    /// Creates the file, readable by its owner only. Fails, leaving nothing behind, if the folder is not
    /// writable or the name is taken.
    static Result<std::unique_ptr<WavFile>> create(const QString& path);

    WavFile(const WavFile&) = delete;
    WavFile& operator=(const WavFile&) = delete;

    /// Finishes and closes the file.
    ~WavFile();

    QString path() const { return m_file.fileName(); }

    /// Appends samples. Once the disk is full, later ones are dropped.
    void append(std::span<const qint16> samples);

    /// Writes the length into the header; nothing is appended any more. Until then the header says that the
    /// length is unknown, as in a stream. Fails with the disk's error, as a sentence, if samples were
    /// dropped.
    Result<void> finish();

    /// Closes the file and deletes it.
    void discard();

private:
    explicit WavFile(const QString& path);

    bool write(const void* bytes, qint64 size);

    QFile m_file;
    /// Why samples are dropped; empty while they are not.
    QString m_error;
    bool m_finished = false;
};

} // namespace tavrik
