#include "platform/linux/KeyringItem.h"

#include <libsecret/secret.h>

#include <memory>

namespace tavrik {

namespace {

struct Release {
    void operator()(GMainContext* context) const { g_main_context_unref(context); }
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
    void operator()(SecretSchema* schema) const { secret_schema_unref(schema); }
    void operator()(SecretValue* value) const { secret_value_unref(value); }
    template<class Object>
    void operator()(Object* object) const {
        g_object_unref(object);
    }
};

template<class T>
using Owned = std::unique_ptr<T, Release>;

/// Contact with the Secret Service for as long as it lives. Bound to the thread that made it.
class Contact {
public:
    explicit Contact(GCancellable* cancellable)
        : m_context(g_main_context_new()),
          m_schema(secret_schema_new("io.nordvex.tavrik", SECRET_SCHEMA_DONT_MATCH_NAME, "service",
                                     SECRET_SCHEMA_ATTRIBUTE_STRING, "account",
                                     SECRET_SCHEMA_ATTRIBUTE_STRING, nullptr)),
          m_attributes(secret_attributes_build(m_schema.get(), "service", "io.nordvex.tavrik", "account",
                                               "supabase-session", nullptr)) {
        g_main_context_push_thread_default(m_context.get());
        m_bus.reset(g_bus_get_sync(G_BUS_TYPE_SESSION, cancellable, nullptr));
        // Else the program would end with the bus.
        if (m_bus)
            g_dbus_connection_set_exit_on_close(m_bus.get(), FALSE);
    }
    Contact(const Contact&) = delete;
    Contact& operator=(const Contact&) = delete;
    ~Contact() {
        secret_service_disconnect();
        g_main_context_pop_thread_default(m_context.get());
    }

    explicit operator bool() const { return m_bus != nullptr; }

    GMainContext* context() const { return m_context.get(); }

    Owned<SecretItem> find(GCancellable* cancellable) const {
        GList* found = secret_service_search_sync(nullptr, m_schema.get(), m_attributes.get(),
                                                  SECRET_SEARCH_LOAD_SECRETS, cancellable, nullptr);
        Owned<SecretItem> item(found ? SECRET_ITEM(g_object_ref(found->data)) : nullptr);
        g_list_free_full(found, g_object_unref);
        return item;
    }

    void clear() const {
        secret_service_clear_sync(nullptr, m_schema.get(), m_attributes.get(), nullptr, nullptr);
    }

    void store(const QByteArray& secret) const {
        const Owned<SecretValue> value(secret_value_new(secret.constData(), secret.size(), "text/plain"));
        secret_service_store_sync(nullptr, m_schema.get(), m_attributes.get(), SECRET_COLLECTION_DEFAULT,
                                  "Tavrik", value.get(), nullptr, nullptr);
    }

private:
    Owned<GMainContext> m_context;
    Owned<SecretSchema> m_schema;
    Owned<GHashTable> m_attributes;
    Owned<GDBusConnection> m_bus;
};

struct Unlocking {
    GMainContext* context;
    Owned<GCancellable> prompt{g_cancellable_new()};
    bool asking = true;
};

void giveUp(GCancellable*, gpointer data) {
    auto& unlocking = *static_cast<Unlocking*>(data);
    g_cancellable_cancel(unlocking.prompt.get());
    g_main_context_wakeup(unlocking.context);
}

void answered(GObject*, GAsyncResult* result, gpointer data) {
    secret_service_unlock_finish(nullptr, result, nullptr, nullptr);
    static_cast<Unlocking*>(data)->asking = false;
}

/// A user who dismisses the question may still unlock the item in another way.
void waitForUnlock(SecretItem* item, GMainContext* context, GCancellable* cancellable) {
    Unlocking unlocking{.context = context};
    const auto connection = g_cancellable_connect(cancellable, G_CALLBACK(giveUp), &unlocking, nullptr);
    GList items{item, nullptr, nullptr};
    secret_service_unlock(nullptr, &items, unlocking.prompt.get(), answered, &unlocking);
    while (secret_item_get_locked(item) && !g_cancellable_is_cancelled(cancellable))
        g_main_context_iteration(context, TRUE);
    g_cancellable_disconnect(cancellable, connection);

    g_cancellable_cancel(unlocking.prompt.get());
    while (unlocking.asking)
        g_main_context_iteration(context, TRUE);
}

} // namespace

std::optional<QByteArray> readKeyringItem(GCancellable* cancellable) {
    const Contact contact(cancellable);
    if (!contact)
        return std::nullopt;
    const auto item = contact.find(cancellable);
    if (!item)
        return std::nullopt;
    if (secret_item_get_locked(item.get())) {
        waitForUnlock(item.get(), contact.context(), cancellable);
        secret_item_load_secret_sync(item.get(), cancellable, nullptr);
    }
    const Owned<SecretValue> secret(secret_item_get_secret(item.get()));
    if (!secret)
        return std::nullopt;
    gsize length = 0;
    const auto* bytes = secret_value_get(secret.get(), &length);
    return QByteArray(bytes, static_cast<qsizetype>(length));
}

void replaceKeyringItem(const QByteArray& secret) {
    if (const Contact contact(nullptr); contact) {
        contact.clear();
        contact.store(secret);
    }
}

void removeKeyringItem() {
    if (const Contact contact(nullptr); contact)
        contact.clear();
}

} // namespace tavrik
