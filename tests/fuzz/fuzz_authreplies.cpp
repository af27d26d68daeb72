#include "account/AuthReplies.h"

#include <cmath>
#include <cstdlib>

using namespace tavrik;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray body(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto reply = authReplyObject(body);
    (void)authReplyError(reply, 400);
    (void)authReplyEmail(body);
    (void)AuthSession::fromJson(body);

    // What a reply can begin can also be kept, and read again.
    const auto session = authReplySession(reply, QStringLiteral("typed@example.org"), {});
    if (session && (!std::isfinite(session->expiresAt.time_since_epoch().count()) ||
                    !AuthSession::fromJson(session->toJson())))
        std::abort();
    return 0;
}
