#include "services/OpenRouter.h"

namespace tavrik {

QUrl openRouterEndpoint() {
    return QUrl(QStringLiteral(TAVRIK_OPENROUTER_URL "/api/v1/chat/completions"));
}

} // namespace tavrik
