#include "platform/portal/FallbackHotKeyBackend.h"

#include "platform/portal/GlobalShortcutsBackend.h"

#include <utility>

namespace tavrik {

namespace {

class FallbackRegistration final : public HotKeyBackend::Registration {
public:
    FallbackRegistration(FallbackHotKeyBackend& backend, KeyCombination combination,
                         PermissionRequest request, HotKeyBackend::Handlers handlers)
        : m_backend(backend), m_combination(combination), m_handlers(std::move(handlers)) {
        registerHotKey(request);
        connect(&backend, &Service::statusChanged, this, [this] {
            if (m_registeredWith != &m_backend.current())
                registerHotKey(PermissionRequest::once);
        });
    }

    ServiceStatus status() const override { return m_registration->status(); }
    QString assignedTrigger() const override { return m_registration->assignedTrigger(); }
    KeyBindings bindings() const override { return m_registration->bindings(); }
    bool endsOnSecondPress() const override { return m_registration->endsOnSecondPress(); }
    void setRecording(bool recording) override { m_registration->setRecording(recording); }

private:
    void registerHotKey(PermissionRequest request) {
        m_registeredWith = &m_backend.current();
        auto handlers = m_handlers;
        handlers.settled = [this] {
            if (!std::exchange(m_isSettled, true))
                m_handlers.settled();
        };
        m_registration = m_registeredWith->registerHotKey(m_combination, request, std::move(handlers));
        connect(m_registration.get(), &Service::statusChanged, this, &Service::statusChanged);
        Q_EMIT statusChanged();
    }

    FallbackHotKeyBackend& m_backend;
    const KeyCombination m_combination;
    const HotKeyBackend::Handlers m_handlers;
    bool m_isSettled = false;
    HotKeyBackend* m_registeredWith = nullptr;
    std::unique_ptr<HotKeyBackend::Registration> m_registration;
};

} // namespace

FallbackHotKeyBackend::FallbackHotKeyBackend(std::unique_ptr<GlobalShortcutsBackend> portal,
                                             std::unique_ptr<HotKeyBackend> fallback)
    : m_portal(std::move(portal)), m_fallback(std::move(fallback)) {
    connect(m_portal.get(), &Service::statusChanged, this, &Service::statusChanged);
    connect(m_fallback.get(), &Service::statusChanged, this, &Service::statusChanged);
}

FallbackHotKeyBackend::~FallbackHotKeyBackend() = default;

HotKeyBackend& FallbackHotKeyBackend::current() const {
    if (m_portal->offer() == GlobalShortcutsBackend::Offer::missing)
        return *m_fallback;
    return *m_portal;
}

ServiceStatus FallbackHotKeyBackend::status() const {
    return current().status();
}

std::unique_ptr<HotKeyBackend::Registration> FallbackHotKeyBackend::registerHotKey(KeyCombination combination,
                                                                                   PermissionRequest request,
                                                                                   Handlers handlers) {
    return std::make_unique<FallbackRegistration>(*this, combination, request, std::move(handlers));
}

} // namespace tavrik
