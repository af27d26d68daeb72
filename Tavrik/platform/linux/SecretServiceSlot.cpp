#include "platform/linux/SecretServiceSlot.h"

#include "base/MainQueue.h"
#include "base/PrivateFiles.h"
#include "base/PrivateSaveFile.h"

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QFileInfo>

#include <algorithm>
#include <ranges>
#include <utility>

using namespace std::chrono_literals;

namespace tavrik {

using namespace secretservice;

namespace {

/// What the item is found by.
Attributes lookupAttributes() {
    return {{u"service"_s, u"io.nordvex.tavrik"_s}, {u"account"_s, u"supabase-session"_s}};
}

QVariantMap itemProperties() {
    auto attributes = lookupAttributes();
    attributes.insert(u"xdg:schema"_s, u"io.nordvex.tavrik"_s);
    return {{itemInterface + u".Label"_s, u"Tavrik"_s},
            {itemInterface + u".Attributes"_s, QVariant::fromValue(attributes)}};
}

} // namespace

SecretServiceSlot::SecretServiceSlot(MainQueue& queue, QString removalMark, const QDBusConnection& bus)
    : m_queue(queue), m_removalMark(std::move(removalMark)), m_bus(bus), m_service(bus),
      m_unlockWatcher(bus) {
    connect(&m_unlockWatcher, &KeyringUnlockWatcher::lookAgain, this, &SecretServiceSlot::perform);
    // From whoever sends it: naming the bus would ask it about its owner, and wait for the answer.
    m_bus.connect({}, u"/org/freedesktop/DBus"_s, u"org.freedesktop.DBus"_s, u"NameOwnerChanged"_s, {service},
                  {}, this, SLOT(serviceOwnerChanged(QString, QString, QString)));
}

SecretServiceSlot::~SecretServiceSlot() {
    cancelRead();
    m_service.receiveReplies(1s);
}

ServiceStatus SecretServiceSlot::status() const {
    auto health = m_health;
    if (health == Health::unknown) {
        auto* bus = m_bus.interface();
        const bool exists = bus != nullptr && (bus->isServiceRegistered(service) ||
                                               bus->activatableServiceNames().value().contains(service));
        health = exists ? Health::works : Health::absent;
    }
    const auto backend = u"Secret Service"_s;
    switch (health) {
    case Health::unknown:
    case Health::works:
        break;
    case Health::locked:
        return {backend, false, u"The keyring is locked."_s};
    case Health::absent:
        return {backend, false, u"There is no keyring, so a sign-in lasts until Tavrik quits."_s};
    case Health::silent:
        return {backend, false, u"The keyring does not answer."_s};
    case Health::failing:
        return {backend, false, u"The keyring answers with errors."_s};
    }
    return {backend, true, {}};
}

void SecretServiceSlot::read(ReadCompletion completion) {
    m_completion = std::make_shared<ReadCompletion>(std::move(completion));
    m_requests.push_back({Action::read});
    if (m_requests.size() == 1)
        startNext();
}

void SecretServiceSlot::cancelRead() {
    m_completion = nullptr;
    const auto found = std::ranges::find(m_requests, Action::read, &Request::action);
    if (found == m_requests.end())
        return;
    const bool isUnderWay = found == m_requests.begin();
    m_requests.erase(found);
    if (isUnderWay) {
        m_service.abandonCall();
        m_unlockWatcher.stop();
        startNext();
    }
}

void SecretServiceSlot::save(const QByteArray& secret) {
    enqueueWrite({Action::save, secret});
}

void SecretServiceSlot::remove() {
    setRemovalMark();
    cancelRead();
    enqueueWrite({Action::remove});
}

/// Earlier writes that have not begun, or wait for an unlocking, have become pointless.
void SecretServiceSlot::enqueueWrite(Request request) {
    while (!m_requests.empty() && m_requests.back().action != Action::read &&
           (m_requests.size() > 1 || !m_service.isBusy())) {
        m_requests.pop_back();
    }
    m_requests.push_back(std::move(request));
    if (m_requests.size() == 1) {
        m_unlockWatcher.stop();
        startNext();
    }
}

void SecretServiceSlot::startNext() {
    m_deleted.clear();
    m_askedToUnlock = false;
    m_unlockWatcher.resetPause();
    if (!m_requests.empty())
        perform();
}

/// Carries the first request out, from its beginning.
void SecretServiceSlot::perform() {
    const auto action = m_requests.front().action;
    if (action == Action::remove)
        return removeItems();
    if (action == Action::read && QFileInfo::exists(m_removalMark)) {
        deliver(std::nullopt);
        m_requests.push_back({Action::remove});
        return finish();
    }
    if (m_session.isEmpty())
        return openSession();
    if (action == Action::read)
        readItem();
    else
        saveItem();
}

void SecretServiceSlot::finish() {
    m_unlockWatcher.stop();
    if (m_health == Health::locked)
        setHealth(Health::works);
    m_requests.pop_front();
    startNext();
}

/// Ends a request that cannot be carried out.
void SecretServiceSlot::giveUp() {
    if (m_requests.front().action == Action::read)
        deliver(std::nullopt);
    finish();
}

void SecretServiceSlot::deliver(const std::optional<QByteArray>& secret) {
    m_queue.post([completion = std::weak_ptr(m_completion), secret] {
        if (const auto wanted = completion.lock())
            (*wanted)(secret);
    });
}

bool SecretServiceSlot::failed(const QDBusError& error) {
    if (!error.isValid()) {
        // That it is locked holds until what waits for the unlocking is finished.
        if (m_health != Health::locked)
            setHealth(Health::works);
        return false;
    }
    m_session.clear();
    const auto type = error.type();
    if (type == QDBusError::ServiceUnknown || type == QDBusError::Disconnected ||
        error.name().startsWith("org.freedesktop.DBus.Error.Spawn."_L1))
        setHealth(Health::absent);
    else if (type == QDBusError::NoReply || type == QDBusError::TimedOut || type == QDBusError::Timeout)
        setHealth(Health::silent);
    else
        setHealth(Health::failing);
    return true;
}

void SecretServiceSlot::setHealth(Health health) {
    // Later: whoever hears of it may ask for something else at once.
    if (std::exchange(m_health, health) != health)
        QMetaObject::invokeMethod(this, &Service::statusChanged, Qt::QueuedConnection);
}

/// Secrets are not encrypted in transit: whoever can listen on the user's own bus can also ask the keyring.
void SecretServiceSlot::openSession() {
    m_service.call(serviceCall(u"OpenSession"_s, {u"plain"_s, QVariant::fromValue(QDBusVariant(u""_s))}),
                   [this](const QDBusPendingReply<QDBusVariant, QDBusObjectPath>& reply) {
                       if (!failed(reply.error()) && !isNull(reply.argumentAt<1>())) {
                           m_session = reply.argumentAt<1>().path();
                           return perform();
                       }
                       giveUp();
                   });
}

void SecretServiceSlot::search(std::function<void(const Items&, const Items&)> found) {
    m_service.call(serviceCall(u"SearchItems"_s, {QVariant::fromValue(lookupAttributes())}),
                   [this, found = std::move(found)](const QDBusPendingReply<Items, Items>& reply) {
                       if (!failed(reply.error()))
                           return found(reply.argumentAt<0>(), reply.argumentAt<1>());
                       giveUp();
                   });
}

void SecretServiceSlot::readItem() {
    search([this](const Items& unlocked, const Items& locked) {
        if (!unlocked.isEmpty())
            return readSecret(unlocked.first());
        if (!locked.isEmpty())
            return unlock(locked.first());
        nothingFound();
    });
}

void SecretServiceSlot::readSecret(const QDBusObjectPath& item) {
    m_service.call(itemCall(item, u"GetSecret"_s, {QVariant::fromValue(QDBusObjectPath(m_session))}),
                   [this](const QDBusPendingReply<Secret>& reply) {
                       if (reply.error().name() == isLockedError)
                           return waitForUnlock();
                       deliver(failed(reply.error()) ? std::nullopt : std::optional(reply.value().value));
                       finish();
                   });
}

void SecretServiceSlot::removeItems() {
    search([this](const Items& unlocked, const Items& locked) {
        if (!unlocked.isEmpty()) {
            // Some services keep what they claim to have deleted: do not ask them forever.
            if (m_deleted.contains(unlocked.first()))
                return finish();
            return removeItem(unlocked.first(), [this] { removeItems(); });
        }
        // The user has signed out, and is not bothered with questions about it.
        if (!locked.isEmpty())
            return waitForUnlock();
        nothingFound();
    });
}

void SecretServiceSlot::removeItem(const QDBusObjectPath& item, const std::function<void()>& removed) {
    m_deleted.append(item);
    m_service.call(
        itemCall(item, u"Delete"_s), [this, removed](const QDBusPendingReply<QDBusObjectPath>& reply) {
            if (reply.error().name() == isLockedError)
                return waitForUnlock();
            if (failed(reply.error()))
                return finish();
            if (isNull(reply.value()))
                return removed();
            m_service.prompt(reply.value(), [this, removed](const std::optional<QVariant>& result) {
                if (result)
                    removed();
                else
                    finish();
            });
        });
}

void SecretServiceSlot::saveItem() {
    m_service.call(serviceCall(u"ReadAlias"_s, {u"default"_s}),
                   [this](const QDBusPendingReply<QDBusObjectPath>& reply) {
                       if (failed(reply.error()))
                           finish();
                       else if (isNull(reply.value()))
                           createCollection();
                       else
                           createItem(reply.value());
                   });
}

void SecretServiceSlot::createCollection() {
    const QVariantMap properties{{collectionInterface + u".Label"_s, u"Default keyring"_s}};
    m_service.call(
        serviceCall(u"CreateCollection"_s, {properties, u"default"_s}), [this](const Creation& reply) {
            finishCreation(reply, [this](const QDBusObjectPath& collection) { createItem(collection); });
        });
}

void SecretServiceSlot::createItem(const QDBusObjectPath& collection) {
    const Secret secret{QDBusObjectPath(m_session), {}, m_requests.front().secret, u"text/plain"_s};
    constexpr bool replace = true;
    m_service.call(
        collectionCall(collection, u"CreateItem"_s, {itemProperties(), QVariant::fromValue(secret), replace}),
        [this, collection](const Creation& reply) {
            if (reply.error().name() == isLockedError)
                return unlock(collection);
            finishCreation(reply, [this](const QDBusObjectPath& item) { itemSaved(item); });
        });
}

/// The object exists already, or once the user has answered a prompt.
void SecretServiceSlot::finishCreation(const Creation& reply,
                                       const std::function<void(const QDBusObjectPath&)>& created) {
    if (failed(reply.error()))
        return finish();
    if (!isNull(reply.argumentAt<0>()))
        return created(reply.argumentAt<0>());
    m_service.prompt(reply.argumentAt<1>(), [this, created](const std::optional<QVariant>& result) {
        const auto object = result.value_or(QVariant()).value<QDBusObjectPath>();
        if (isNull(object))
            finish();
        else
            created(object);
    });
}

void SecretServiceSlot::itemSaved(const QDBusObjectPath& item) {
    liftRemovalMark();
    removeOthers(item);
}

/// One that another program has stored under the same two attributes is not replaced, and could be read
/// instead.
void SecretServiceSlot::removeOthers(const QDBusObjectPath& saved) {
    search([this, saved](const Items& unlocked, const Items&) {
        const auto other = std::ranges::find_if(unlocked, [&](const QDBusObjectPath& item) {
            return item != saved && !m_deleted.contains(item);
        });
        if (other == unlocked.end())
            finish();
        else
            removeItem(*other, [this, saved] { removeOthers(saved); });
    });
}

/// There is nothing, unless a locked collection hides it.
void SecretServiceSlot::nothingFound() {
    m_service.call(getProperty(servicePath, serviceInterface, u"Collections"_s),
                   [this](const QDBusPendingReply<QDBusVariant>& reply) {
                       if (!failed(reply.error()))
                           return lookForLocked(paths(reply.value()));
                       giveUp();
                   });
}

void SecretServiceSlot::lookForLocked(Items collections) {
    if (collections.isEmpty()) {
        if (m_requests.front().action == Action::read)
            deliver(std::nullopt);
        else
            liftRemovalMark();
        return finish();
    }
    const auto collection = collections.takeLast();
    m_service.call(
        getProperty(collection.path(), collectionInterface, u"Locked"_s),
        [this, collections = std::move(collections)](const QDBusPendingReply<QDBusVariant>& reply) {
            // Opening it is up to the user: nothing says that it holds our item.
            if (reply.isValid() && reply.value().variant().toBool())
                return waitForUnlock();
            lookForLocked(collections);
        });
}

/// Asks the user, once for each request. The question stays until it is answered: there is a keyring in use
/// that crashes when one is withdrawn.
void SecretServiceSlot::unlock(const QDBusObjectPath& object) {
    if (std::exchange(m_askedToUnlock, true))
        return waitForUnlock();
    setHealth(Health::locked);
    m_unlockWatcher.listen();
    m_service.call(serviceCall(u"Unlock"_s, {QVariant::fromValue(Items{object})}),
                   [this](const QDBusPendingReply<Items, QDBusObjectPath>& reply) {
                       if (failed(reply.error()))
                           return waitForUnlock();
                       if (isNull(reply.argumentAt<1>()))
                           return perform();
                       m_service.call(promptCall(reply.argumentAt<1>().path()),
                                      [this](const QDBusPendingCall&) { waitForUnlock(); });
                   });
}

void SecretServiceSlot::waitForUnlock() {
    setHealth(Health::locked);
    m_unlockWatcher.wait();
}

void SecretServiceSlot::serviceOwnerChanged(const QString&, const QString&, const QString& now) {
    m_session.clear();
    m_askedToUnlock = false;
    setHealth(now.isEmpty() ? Health::absent : Health::works);
    m_service.cancelPrompt();
    m_unlockWatcher.keyringChanged();
    if (!now.isEmpty() && m_requests.empty() && QFileInfo::exists(m_removalMark))
        enqueueWrite({Action::remove});
}

void SecretServiceSlot::setRemovalMark() {
    makePrivateFolder(QFileInfo(m_removalMark).absolutePath());
    PrivateSaveFile(m_removalMark).commit();
}

/// Does nothing if another removal is still to come.
void SecretServiceSlot::liftRemovalMark() {
    if (std::ranges::none_of(m_requests | std::views::drop(1),
                             [](const Request& request) { return request.action == Action::remove; }))
        QFile::remove(m_removalMark);
}

} // namespace tavrik
