#include "platform/Service.h"

namespace tavrik {

Service::~Service() = default;

} // namespace tavrik
