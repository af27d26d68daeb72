#pragma once

#include "mock-server/HttpHandler.h"

#include <QTimer>

class QTcpSocket;

namespace tavrik::backend {

/// One connection: reads a request, sends its answer, reads the next. Owned by its socket, which it deletes
/// when the connection ends.
class HttpConnection : public QObject {
    Q_OBJECT

public:
    static constexpr qint64 maximumHead = qint64{64} * 1024;
    static constexpr qint64 maximumBody = qint64{256} * 1024 * 1024;

    /// `number` is noted in every request.
    HttpConnection(QTcpSocket& socket, HttpHandler& handler, int number);

private:
    enum class State { ReadingHead, ReadingBody, Answering, Sending, Stalled };

    void read();
    bool readHead();
    bool readBody();
    void finishRequest();
    void refuse(int status);

    void send(ScriptedReply reply);
    void sendMore();
    void writeBody(qint64 length);
    void finishReply();
    void end(ScriptedReply::Ending ending);
    void disconnected();

    QTcpSocket& m_socket;
    HttpHandler& m_handler;
    const int m_number;
    State m_state = State::ReadingHead;
    QByteArray m_input;
    Request m_request;
    std::optional<ScriptedReply> m_script;
    /// What is being sent, and how much of its body has been.
    ScriptedReply m_reply;
    qint64 m_bodySize = 0;
    qint64 m_sent = 0;
    QTimer m_timer;
};

} // namespace tavrik::backend
