#include "translation/Replies.h"

#include <cstdlib>

using namespace tavrik;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const HttpResponse response{.status = 200,
                                .body = {reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)}};
    for (const auto& text : {readBackendReply(response), readOpenRouterReply(response)}) {
        if (text && *text != text->trimmed())
            std::abort();
    }
    return 0;
}
