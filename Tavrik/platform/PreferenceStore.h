#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>

namespace tavrik {

/// The user's typed preferences, as this desktop keeps them: booleans, whole and fractional numbers, strings.
/// Every read sees the store as it is now, edits from outside included. Main thread only.
class PreferenceStore {
public:
    PreferenceStore() = default;
    PreferenceStore(const PreferenceStore&) = delete;
    PreferenceStore& operator=(const PreferenceStore&) = delete;
    virtual ~PreferenceStore() = default;

    /// The stored value with its stored type (bool, qlonglong, double, QString, or another that JSON has);
    /// invalid when the key is absent or the store cannot be read.
    virtual QVariant value(const QString& key) const = 0;

    /// Writes one value at once; keys it does not know are kept. False when it could not be written.
    virtual bool setValue(const QString& key, const QVariant& value) = 0;

    /// Removes one key at once. False when it could not be written; an absent key is no failure.
    virtual bool remove(const QString& key) = 0;

    /// Every key that is there, in alphabetical order.
    virtual QStringList keys() const = 0;

    /// From now on calls `changed`, beside those given before, on the main thread soon after something else
    /// has changed the store.
    virtual void watch(std::function<void()> changed) = 0;
};

} // namespace tavrik
