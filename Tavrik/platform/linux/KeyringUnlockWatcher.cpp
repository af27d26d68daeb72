#include "platform/linux/KeyringUnlockWatcher.h"

#include "platform/linux/SecretServiceMessages.h"

#include <algorithm>
#include <utility>

using namespace std::chrono_literals;

namespace tavrik {

using namespace secretservice;

namespace {

constexpr std::chrono::milliseconds firstPause = 1s;
constexpr std::chrono::milliseconds longestPause = 64s;

} // namespace

KeyringUnlockWatcher::KeyringUnlockWatcher(const QDBusConnection& bus) : m_bus(bus), m_pause(firstPause) {
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &KeyringUnlockWatcher::lookAgain);
}

void KeyringUnlockWatcher::wait() {
    listen();
    // Not every keyring announces that it was unlocked in another way, so that it has to be looked at.
    m_timer.start(m_pause);
    m_pause = std::min(2 * m_pause, longestPause);
}

void KeyringUnlockWatcher::stop() {
    m_timer.stop();
    setListening(false);
}

void KeyringUnlockWatcher::resetPause() {
    m_pause = firstPause;
}

void KeyringUnlockWatcher::keyringChanged() {
    resetPause();
    if (isWaiting())
        m_timer.start(50ms);
}

void KeyringUnlockWatcher::setListening(bool listening) {
    if (std::exchange(m_isListening, listening) == listening)
        return;
    // Signals are taken from whoever sends them: naming the service would ask the bus about its owner, and
    // wait for the answer.
    const auto set = [&](const QString& interface, const QString& name, const QStringList& arguments = {}) {
        const auto* const slot = SLOT(keyringChanged());
        if (listening)
            m_bus.connect({}, {}, interface, name, arguments, {}, this, slot);
        else
            m_bus.disconnect({}, {}, interface, name, arguments, {}, this, slot);
    };
    set(promptInterface, u"Completed"_s);
    set(serviceInterface, u"CollectionCreated"_s);
    set(serviceInterface, u"CollectionChanged"_s);
    set(collectionInterface, u"ItemCreated"_s);
    set(collectionInterface, u"ItemChanged"_s);
    set(propertiesInterface, u"PropertiesChanged"_s, {collectionInterface});
    set(propertiesInterface, u"PropertiesChanged"_s, {itemInterface});
}

} // namespace tavrik
