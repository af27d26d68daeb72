#include "platform/Launcher.h"
#include "platform/linux/BusNames.h"

#include <dbus/dbus.h>
#include <dlfcn.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <utility>

namespace tavrik {

namespace {

const char* methodName(HotKeyCommand::Kind kind) {
    switch (kind) {
    case HotKeyCommand::Kind::press:
        return "Press";
    case HotKeyCommand::Kind::release:
        return "Release";
    case HotKeyCommand::Kind::toggle:
        return "Toggle";
    }
    return "";
}

/// In microseconds, of the clock of std::chrono::steady_clock, whose now() is in the C++ library.
dbus_int64_t now() {
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return dbus_int64_t{time.tv_sec} * 1'000'000 + time.tv_nsec / 1000;
}

struct Release {
    void operator()(DBusConnection* connection) const {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
    }
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
    void operator()(char* text) const { std::free(text); }
};

using Connection = std::unique_ptr<DBusConnection, Release>;
using Message = std::unique_ptr<DBusMessage, Release>;
using Text = std::unique_ptr<char, Release>;

Message methodCall(const char* interface, const char* method) {
    return Message(dbus_message_new_method_call(bus::serviceName, bus::objectPath, interface, method));
}

/// Over a connection of its own, which is gone afterwards.
Delivery deliver(const Message& call) {
    const Connection connection(dbus_bus_get_private(DBUS_BUS_SESSION, nullptr));
    if (!connection || !call)
        return Delivery::noneRuns;
    dbus_connection_set_exit_on_disconnect(connection.get(), false);
    dbus_message_set_auto_start(call.get(), false);
    DBusError error = DBUS_ERROR_INIT;
    const Message reply(
        dbus_connection_send_with_reply_and_block(connection.get(), call.get(), bus::answerTimeout, &error));
    if (reply)
        return Delivery::taken;
    const bool noneRuns = dbus_error_has_name(&error, DBUS_ERROR_NAME_HAS_NO_OWNER);
    dbus_error_free(&error);
    // Whatever else the error is: it may have been about to quit.
    return !noneRuns && dbus_bus_name_has_owner(connection.get(), bus::serviceName, nullptr)
               ? Delivery::notAnswered
               : Delivery::noneRuns;
}

/// The URL as the bus can carry it. That takes only UTF-8; other bytes travel percent-encoded, which means
/// the same in a URL.
Text transportable(const char* url) {
    if (dbus_validate_utf8(url, nullptr))
        return Text(::strdup(url));
    Text text(static_cast<char*>(std::malloc(3 * std::strlen(url) + 1)));
    if (!text)
        return text;
    auto* end = text.get();
    for (; *url != '\0'; ++url) {
        if (const auto byte = static_cast<unsigned char>(*url); byte < 0x80)
            *end++ = *url;
        else
            end += std::snprintf(end, sizeof "%FF", "%%%02X", byte);
    }
    *end = '\0';
    return text;
}

bool append(DBusMessageIter& to, const char* text) {
    return dbus_message_iter_append_basic(&to, DBUS_TYPE_STRING, static_cast<const void*>(&text));
}

bool appendUrls(DBusMessageIter& arguments, std::span<char* const> urls) {
    DBusMessageIter list;
    bool complete = dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "s", &list);
    for (const auto* url : urls) {
        const auto text = transportable(url);
        complete = complete && text && append(list, text.get());
    }
    return complete && dbus_message_iter_close_container(&arguments, &list);
}

/// What the caller's desktop gave it so that the window may come to the front.
bool appendPlatformData(DBusMessageIter& arguments) {
    constexpr std::array<std::pair<const char*, const char*>, 2> tokens{
        {{"activation-token", "XDG_ACTIVATION_TOKEN"}, {"desktop-startup-id", "DESKTOP_STARTUP_ID"}}};
    DBusMessageIter data;
    bool complete = dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "{sv}", &data);
    for (const auto& [key, variable] : tokens) {
        const auto* value = std::getenv(variable);
        if (!value || *value == '\0' || !dbus_validate_utf8(value, nullptr))
            continue;
        DBusMessageIter entry;
        DBusMessageIter variant;
        complete = complete &&
                   dbus_message_iter_open_container(&data, DBUS_TYPE_DICT_ENTRY, nullptr, &entry) &&
                   append(entry, key) &&
                   dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, "s", &variant) &&
                   append(variant, value) && dbus_message_iter_close_container(&entry, &variant) &&
                   dbus_message_iter_close_container(&data, &entry);
    }
    return complete && dbus_message_iter_close_container(&arguments, &data);
}

} // namespace

Delivery sendHotKeyCommand(HotKeyCommand::Kind kind) {
    const auto time = now();
    auto call = methodCall("io.nordvex.tavrik.HotKey", methodName(kind));
    if (call && !dbus_message_append_args(call.get(), DBUS_TYPE_INT64, &time, DBUS_TYPE_INVALID))
        call.reset();
    return deliver(call);
}

Delivery forwardLaunch(std::span<char* const> urls) {
    auto call = methodCall("org.freedesktop.Application", urls.empty() ? "Activate" : "Open");
    if (call) {
        DBusMessageIter arguments;
        dbus_message_iter_init_append(call.get(), &arguments);
        if ((!urls.empty() && !appendUrls(arguments, urls)) || !appendPlatformData(arguments))
            call.reset();
    }
    return deliver(call);
}

std::expected<Entry, const char*> loadEntry(const char* library, const char* name) {
    // The linker's $ORIGIN would be a sanitizer's folder where that calls the linker in our place.
    std::array<char, PATH_MAX> program{};
    if (::readlink("/proc/self/exe", program.data(), program.size() - 1) < 0)
        return std::unexpected(std::strerror(errno));
    *std::strrchr(program.data(), '/') = '\0';
    char* path = nullptr;
    if (::asprintf(&path, "%s/%s", program.data(), library) < 0)
        return std::unexpected(std::strerror(ENOMEM));
    auto* loaded = ::dlopen(path, RTLD_LAZY);
    std::free(path);
    auto* found = loaded ? ::dlsym(loaded, name) : nullptr;
    if (!found)
        return std::unexpected(::dlerror());
    return reinterpret_cast<Entry>(found);
}

} // namespace tavrik
