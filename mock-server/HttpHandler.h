#pragma once

#include "mock-server/HttpMessage.h"
#include "mock-server/ScriptedReply.h"

#include <functional>
#include <optional>

namespace tavrik::backend {

/// What a server does with its requests. Called on the server's thread, for each request in this order.
class HttpHandler {
public:
    /// Sends the answer; harmless when the connection has gone meanwhile.
    using Responder = std::move_only_function<void(Reply)>;

    HttpHandler() = default;
    HttpHandler(const HttpHandler&) = delete;
    HttpHandler& operator=(const HttpHandler&) = delete;
    virtual ~HttpHandler() = default;

    /// The request's head has arrived. A scripted reply takes the place of answer().
    virtual std::optional<ScriptedReply> script(const Request& head) = 0;

    /// The request has been read, or as much of it as there will be.
    virtual void received(const Request& request) = 0;

    /// Answers a complete request, now or later.
    virtual void answer(const Request& request, Responder respond) = 0;
};

} // namespace tavrik::backend
