#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>

namespace tavrik {

/// Writes to a pipe, however slowly the other end reads, without ever waiting for it; then closes the pipe
/// and destroys itself. So it does when the other end is closed, or its parent is destroyed. Main thread
/// only; the process must ignore SIGPIPE.
class PipeWriter : public QObject {
public:
    /// Takes the descriptor over.
    PipeWriter(int descriptor, QByteArray data, QObject* parent);
    ~PipeWriter() override;

private:
    void write();
    void close();

    int m_descriptor;
    const QByteArray m_data;
    qsizetype m_written = 0;
    QSocketNotifier m_writable;
};

} // namespace tavrik
