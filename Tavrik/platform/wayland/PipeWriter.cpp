#include "platform/wayland/PipeWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace tavrik {

PipeWriter::PipeWriter(int descriptor, QByteArray data, QObject* parent)
    : QObject(parent), m_descriptor(descriptor), m_data(std::move(data)),
      m_writable(descriptor, QSocketNotifier::Write) {
    ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK);
    connect(&m_writable, &QSocketNotifier::activated, this, &PipeWriter::write);
    write();
}

PipeWriter::~PipeWriter() {
    close();
}

void PipeWriter::write() {
    while (m_written < m_data.size()) {
        const auto count = ::write(m_descriptor, m_data.constData() + m_written,
                                   static_cast<size_t>(m_data.size() - m_written));
        if (count >= 0)
            m_written += count;
        else if (errno == EAGAIN)
            return;
        else if (errno != EINTR)
            break;
    }
    close();
    deleteLater();
}

void PipeWriter::close() {
    m_writable.setEnabled(false);
    if (m_descriptor >= 0)
        ::close(std::exchange(m_descriptor, -1));
}

} // namespace tavrik
