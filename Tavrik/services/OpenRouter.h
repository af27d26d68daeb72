#pragma once

#include <QUrl>

namespace tavrik {

/// Where chat completions are asked for with the user's own key. Fixed when the program is built.
QUrl openRouterEndpoint();

} // namespace tavrik
