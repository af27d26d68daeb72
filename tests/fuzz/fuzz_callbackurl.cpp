#include "account/CallbackUrl.h"

#include <cmath>
#include <cstdlib>

using namespace tavrik;

namespace {

void check(const QByteArray& url) {
    const auto outcome = parseCallbackUrl(url);
    if (outcome && !(url.startsWith("tavrik:") && url.contains('#')))
        std::abort();
    if (!outcome)
        return;
    if (!*outcome && outcome->error().description.isEmpty())
        std::abort();
    if (*outcome && ((*outcome)->accessToken.isEmpty() || (*outcome)->refreshToken.isEmpty() ||
                     !std::isfinite((*outcome)->lifetime.count())))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    check(bytes);
    check("tavrik://auth-callback#" + bytes);
    return 0;
}
