#pragma once

#include "platform/SecureSlot.h"

#include <QList>

#include <utility>

namespace tavrik::fake {

/// A slot whose reading ends when the test says so.
class Slot : public SecureSlot {
public:
    ServiceStatus status() const override { return {.backend = QStringLiteral("fake"), .works = true}; }
    void read(ReadCompletion completion) override { reading = std::move(completion); }
    void cancelRead() override { reading = nullptr; }
    void save(const QByteArray& secret) override {
        content = secret;
        ++writes;
    }
    void remove() override {
        content = std::nullopt;
        ++writes;
    }

    void finishReading() {
        if (const auto completion = std::exchange(reading, nullptr))
            completion(content);
    }

    ReadCompletion reading;
    std::optional<QByteArray> content;
    int writes = 0;
};

} // namespace tavrik::fake
