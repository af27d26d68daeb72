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

struct Unref {
    void operator()(DBusConnection* connection) const { dbus_connection_unref(connection); }
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};

} // namespace

Delivery sendHotKeyCommand(HotKeyCommand::Kind kind) {
    const auto time = now();
    const std::unique_ptr<DBusConnection, Unref> connection(dbus_bus_get(DBUS_BUS_SESSION, nullptr));
    const std::unique_ptr<DBusMessage, Unref> call(dbus_message_new_method_call(
        bus::serviceName, bus::objectPath, "io.nordvex.tavrik.HotKey", methodName(kind)));
    if (!connection || !call ||
        !dbus_message_append_args(call.get(), DBUS_TYPE_INT64, &time, DBUS_TYPE_INVALID))
        return Delivery::noneRuns;
    dbus_message_set_auto_start(call.get(), false);
    DBusError error = DBUS_ERROR_INIT;
    const std::unique_ptr<DBusMessage, Unref> reply(
        dbus_connection_send_with_reply_and_block(connection.get(), call.get(), bus::answerTimeout, &error));
    if (reply)
        return Delivery::taken;
    const bool noneRuns = dbus_error_has_name(&error, DBUS_ERROR_SERVICE_UNKNOWN) ||
                          dbus_error_has_name(&error, DBUS_ERROR_NAME_HAS_NO_OWNER) ||
                          dbus_error_has_name(&error, DBUS_ERROR_DISCONNECTED);
    dbus_error_free(&error);
    return noneRuns ? Delivery::noneRuns : Delivery::notAnswered;
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
