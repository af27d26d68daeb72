#include "platform/linux/RunningInstance.h"

#include <systemd/sd-bus.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <string>

namespace tavrik {

namespace {

constexpr uint64_t answerTimeout = 1000000; // microseconds

struct Release {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};

template<class T>
using Owned = std::unique_ptr<T, Release>;

/// The bus carries only UTF-8: bytes that are none travel percent-encoded, which means the same in a URL.
std::string encoded(const char* url) {
    constexpr auto digits = "0123456789ABCDEF";
    std::string text;
    for (; *url; ++url) {
        const auto byte = static_cast<unsigned char>(*url);
        if (byte < 0x80)
            text += *url;
        else
            ((text += '%') += digits[byte >> 4]) += digits[byte & 0xf];
    }
    return text;
}

int appendUrls(sd_bus_message* message, std::span<const char* const> urls) {
    int result = sd_bus_message_open_container(message, 'a', "s");
    for (const auto* url : urls) {
        if (result < 0)
            return result;
        result = sd_bus_message_append_basic(message, 's', url);
        if (result == -EINVAL)
            result = sd_bus_message_append_basic(message, 's', encoded(url).c_str());
    }
    return result < 0 ? result : sd_bus_message_close_container(message);
}

} // namespace

bool askRunningInstance(std::span<const char* const> urls) {
    sd_bus* opened = nullptr;
    if (sd_bus_open_user(&opened) < 0)
        return false;
    const Owned<sd_bus> bus(opened);
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_method_call(opened, &made, instanceService, instancePath,
                                       "org.freedesktop.Application", urls.empty() ? "Activate" : "Open") < 0)
        return false;
    const Owned<sd_bus_message> message(made);
    if ((!urls.empty() && appendUrls(made, urls) < 0) || sd_bus_message_append(made, "a{sv}", 0) < 0 ||
        sd_bus_message_set_auto_start(made, false) < 0)
        return false;
    switch (sd_bus_call(opened, made, answerTimeout, nullptr, nullptr)) {
    // Nobody has the name, or the bus has gone.
    case -EHOSTUNREACH:
    case -ENXIO:
    case -ECONNRESET:
    case -ENOTCONN:
        return false;
    // Any other failure comes from a program that is there and does not answer: a second one would not help.
    default:
        return true;
    }
}

} // namespace tavrik
