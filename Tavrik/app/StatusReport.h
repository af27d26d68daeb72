#pragma once

#include "platform/ApplicationInstance.h"
#include "platform/Service.h"

#include <QList>

namespace tavrik {

/// What `tavrik status` says of these services.
StatusReport reportStatus(const QList<NamedService>& services);

} // namespace tavrik
