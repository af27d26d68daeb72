#pragma once

#include "platform/KeyCombination.h"

#include <functional>
#include <memory>

namespace tavrik {

/// Grabs one key combination for the whole desktop. Main thread only.
class HotKeyBackend {
public:
    enum class Status {
        registered,
        /// Another program holds the combination.
        taken,
        /// This desktop has no such key, or no way to grab one.
        unavailable,
    };

    /// Called on the main thread, straight from the event that caused them. A hold is one press and one
    /// release.
    struct Handlers {
        std::function<void()> pressed;
        std::function<void()> released;
    };

    /// A combination that stays grabbed until this is destroyed.
    class Registration {
    public:
        Registration() = default;
        Registration(const Registration&) = delete;
        Registration& operator=(const Registration&) = delete;
        virtual ~Registration() = default;

        virtual Status status() const = 0;
    };

    HotKeyBackend() = default;
    HotKeyBackend(const HotKeyBackend&) = delete;
    HotKeyBackend& operator=(const HotKeyBackend&) = delete;
    virtual ~HotKeyBackend() = default;

    /// Never fails: a registration that could not be made says so in its status and delivers nothing.
    virtual std::unique_ptr<Registration> registerHotKey(KeyCombination combination, Handlers handlers) = 0;
};

} // namespace tavrik
