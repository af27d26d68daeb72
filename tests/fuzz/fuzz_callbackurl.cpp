#include "account/CallbackUrl.h"

#include <cmath>
#include <cstdlib>

using namespace tavrik;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    for (const auto& url : {bytes, "tavrik://auth-callback#" + bytes}) {
        const auto outcome = parseCallbackUrl(url);
        if (!outcome)
            continue;
        const bool valid = *outcome
                               ? !(*outcome)->accessToken.isEmpty() && !(*outcome)->refreshToken.isEmpty() &&
                                     std::isfinite((*outcome)->lifetime.count())
                               : !outcome->error().description.isEmpty();
        if (!valid || !url.startsWith("tavrik:") || !url.contains('#'))
            std::abort();
    }
    return 0;
}
