#pragma once

#include "platform/Service.h"

#include <QByteArray>

#include <functional>
#include <optional>

namespace tavrik {

/// The user's one secret, kept over restarts where the desktop keeps secrets. What is asked is carried out in
/// order, without the caller ever waiting for it; failures are silent. Main thread only.
class SecureSlot : public Service {
public:
    using ReadCompletion = std::function<void(std::optional<QByteArray>)>;

    /// Reads the secret. Posts the completion to the main queue, once: nothing if there is none or it cannot
    /// be had. While the store is locked the read waits for its unlocking. One read at a time.
    virtual void read(ReadCompletion completion) = 0;

    /// Gives up a read under way: its completion will not be called.
    virtual void cancelRead() = 0;

    /// Replaces the secret.
    virtual void save(const QByteArray& secret) = 0;

    /// Removes the secret, if there is one.
    virtual void remove() = 0;
};

} // namespace tavrik
