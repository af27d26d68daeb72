#include "platform/portal/GlobalShortcutsBackend.h"

#include "platform/portal/PortalConnection.h"
#include "platform/portal/PortalShortcut.h"
#include "platform/portal/ShortcutRegistration.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

GlobalShortcutsBackend::GlobalShortcutsBackend(PortalConnection& portal, PortalGrants& grants,
                                               KeyRepeat& repeat)
    : m_portal(portal), m_sessions(portal), m_grants(grants), m_repeat(repeat) {
    registerPortalShortcut();
    connect(&m_portal, &PortalConnection::appeared, this, [this] {
        if (m_offer == Offer::missing)
            askOffer();
    });
    askOffer();
}

void GlobalShortcutsBackend::askOffer() {
    m_portal.askVersion(ShortcutRegistration::portalInterface, *this, [this](uint version) {
        m_offer = version > 0 ? Offer::offered : Offer::missing;
        Q_EMIT statusChanged();
    });
}

ServiceStatus GlobalShortcutsBackend::status() const {
    switch (m_offer) {
    case Offer::offered:
        return {ShortcutRegistration::backendName, true};
    case Offer::missing:
        return {ShortcutRegistration::backendName, false, u"The desktop has no portal for shortcuts."_s};
    case Offer::unknown:
        break;
    }
    return {ShortcutRegistration::backendName, false, u"The desktop's portal has not answered yet."_s};
}

std::unique_ptr<HotKeyBackend::Registration>
GlobalShortcutsBackend::registerHotKey(KeyCombination combination, PermissionRequest request,
                                       Handlers handlers) {
    return std::make_unique<ShortcutRegistration>(
        ShortcutRegistration::Dependencies{*this, m_portal, m_sessions, m_grants, m_repeat}, combination,
        request, std::move(handlers));
}

} // namespace tavrik
