#pragma once

#include "platform/ApplicationInstance.h"

namespace tavrik {

/// The running program owns a name on the session bus and serves org.freedesktop.Application there, so that
/// desktops can start and reach it through its desktop file as well.
class DBusApplicationInstance final : public ApplicationInstance {
public:
    DBusApplicationInstance();
    ~DBusApplicationInstance() override;

    std::optional<StatusReport> askStatus() override;
    bool claim(Handlers handlers) override;

private:
    struct Service;
    std::unique_ptr<Service> m_service;
};

} // namespace tavrik
