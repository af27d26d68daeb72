#pragma once

#include "platform/WindowActivator.h"

namespace tavrik {

/// Asks through Qt, which passes the token on where the desktop wants one.
class QtWindowActivator : public WindowActivator {
public:
    void activate(QWindow& window, const QByteArray& activationToken) override;
};

} // namespace tavrik
