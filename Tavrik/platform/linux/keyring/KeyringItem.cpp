#include "platform/linux/keyring/KeyringItem.h"

#include <glib-unix.h>
#include <libsecret/secret.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

using namespace std::chrono_literals;

namespace tavrik {

namespace {

struct Release {
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
    void operator()(GSource* source) const { g_source_unref(source); }
    void operator()(GVariant* variant) const { g_variant_unref(variant); }
    void operator()(SecretSchema* schema) const { secret_schema_unref(schema); }
    void operator()(SecretValue* value) const { secret_value_unref(value); }
    template<class Object>
    void operator()(Object* object) const {
        g_object_unref(object);
    }
};

template<class T>
using Owned = std::unique_ptr<T, Release>;

/// Contact with the Secret Service for as long as it lives.
class Contact {
public:
    Contact()
        : m_schema(secret_schema_new("io.nordvex.tavrik", SECRET_SCHEMA_DONT_MATCH_NAME, "service",
                                     SECRET_SCHEMA_ATTRIBUTE_STRING, "account",
                                     SECRET_SCHEMA_ATTRIBUTE_STRING, nullptr)),
          m_attributes(secret_attributes_build(m_schema.get(), "service", "io.nordvex.tavrik", "account",
                                               "supabase-session", nullptr)) {
        m_bus.reset(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
        if (m_bus)
            m_service.reset(secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION, nullptr, nullptr));
    }

    explicit operator bool() const { return m_service != nullptr; }

    GDBusConnection* bus() const { return m_bus.get(); }

    Owned<SecretItem> find() const {
        GList* found = secret_service_search_sync(m_service.get(), m_schema.get(), m_attributes.get(),
                                                  SECRET_SEARCH_LOAD_SECRETS, nullptr, nullptr);
        Owned<SecretItem> item(found ? SECRET_ITEM(g_object_ref(found->data)) : nullptr);
        g_list_free_full(found, g_object_unref);
        return item;
    }

    void clear() const {
        secret_service_clear_sync(m_service.get(), m_schema.get(), m_attributes.get(), nullptr, nullptr);
    }

    void store(const std::string& secret) const {
        const Owned<SecretValue> value(
            secret_value_new(secret.data(), static_cast<gssize>(secret.size()), "text/plain"));
        secret_service_store_sync(m_service.get(), m_schema.get(), m_attributes.get(),
                                  SECRET_COLLECTION_DEFAULT, "Tavrik", value.get(), nullptr, nullptr);
    }

private:
    Owned<SecretSchema> m_schema;
    Owned<GHashTable> m_attributes;
    Owned<GDBusConnection> m_bus;
    Owned<SecretService> m_service;
};

std::optional<std::string> secretOf(SecretItem* item) {
    const Owned<SecretValue> secret(secret_item_get_secret(item));
    if (!secret)
        return std::nullopt;
    gsize length = 0;
    const auto* bytes = secret_value_get(secret.get(), &length);
    return std::string(bytes, length);
}

/// Asks the user to unlock an item. The question stays until it is answered: there is a keyring in use that
/// crashes when one is withdrawn.
class UnlockPrompt {
public:
    UnlockPrompt(GDBusConnection* bus, const char* item) : m_bus(bus) {
        const char* const items[]{item, nullptr};
        const Owned<GVariant> reply(call("/org/freedesktop/secrets", "org.freedesktop.Secret.Service",
                                         "Unlock", g_variant_new("(^ao)", items), G_VARIANT_TYPE("(aoo)")));
        if (!reply)
            return;
        const char* path = nullptr;
        g_variant_get_child(reply.get(), 1, "&o", &path);
        m_subscription =
            g_dbus_connection_signal_subscribe(bus, service, promptInterface, "Completed", path, nullptr,
                                               G_DBUS_SIGNAL_FLAGS_NONE, completed, &m_completed, nullptr);
        const Owned<GVariant> asked(call(path, promptInterface, "Prompt", g_variant_new("(s)", ""), nullptr));
    }
    UnlockPrompt(const UnlockPrompt&) = delete;
    UnlockPrompt& operator=(const UnlockPrompt&) = delete;
    ~UnlockPrompt() {
        if (m_subscription != 0)
            g_dbus_connection_signal_unsubscribe(m_bus, m_subscription);
    }

    /// Whether the user has answered since the last call, in whatever way.
    bool takeAnswer() { return std::exchange(m_completed, false); }

private:
    static constexpr auto service = "org.freedesktop.secrets";
    static constexpr auto promptInterface = "org.freedesktop.Secret.Prompt";

    GVariant* call(const char* path, const char* interface, const char* method, GVariant* arguments,
                   const GVariantType* replyType) {
        return g_dbus_connection_call_sync(m_bus, service, path, interface, method, arguments, replyType,
                                           G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    }

    static void completed(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
                          gpointer flag) {
        *static_cast<bool*>(flag) = true;
    }

    GDBusConnection* m_bus;
    guint m_subscription = 0;
    bool m_completed = false;
};

gboolean raise(gpointer flag) {
    *static_cast<bool*>(flag) = true;
    return G_SOURCE_REMOVE;
}

gboolean raiseByPipe(int, GIOCondition, gpointer flag) {
    return raise(flag);
}

/// Until the user has answered, the time is over, or whoever holds the other end of the pipe closes it. False
/// in the last case.
bool wait(UnlockPrompt& prompt, std::chrono::milliseconds limit, int pipe) {
    bool over = false;
    const Owned<GSource> timer(g_timeout_source_new(static_cast<guint>(limit.count())));
    g_source_set_callback(timer.get(), raise, &over, nullptr);
    g_source_attach(timer.get(), nullptr);
    bool closed = false;
    const Owned<GSource> closing(g_unix_fd_source_new(pipe, G_IO_HUP));
    g_source_set_callback(closing.get(), G_SOURCE_FUNC(raiseByPipe), &closed, nullptr);
    g_source_attach(closing.get(), nullptr);
    while (!over && !closed && !prompt.takeAnswer())
        g_main_context_iteration(nullptr, TRUE);
    g_source_destroy(timer.get());
    g_source_destroy(closing.get());
    return !closed;
}

} // namespace

std::optional<std::string> readKeyringItem(int pipe) {
    const Contact contact;
    if (!contact)
        return std::nullopt;
    std::optional<UnlockPrompt> prompt;
    // Not every keyring announces that it was unlocked in another way, so that it has to be looked at.
    auto pause = 1s;
    do {
        const auto item = contact.find();
        if (!item)
            return std::nullopt;
        if (!secret_item_get_locked(item.get()))
            return secretOf(item.get());
        if (!prompt)
            prompt.emplace(contact.bus(), g_dbus_proxy_get_object_path(G_DBUS_PROXY(item.get())));
    } while (wait(*prompt, std::exchange(pause, std::min(2 * pause, 64s)), pipe));
    return std::nullopt;
}

void replaceKeyringItem(const std::string& secret) {
    if (const Contact contact; contact) {
        contact.clear();
        contact.store(secret);
    }
}

void removeKeyringItem() {
    if (const Contact contact; contact)
        contact.clear();
}

} // namespace tavrik
