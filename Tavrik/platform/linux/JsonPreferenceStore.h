#pragma once

#include "platform/PreferenceStore.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>

#include <memory>
#include <optional>

namespace tavrik {

class FileWatch;

/// The preferences as one JSON object in a file of the user's own, read afresh for every value. Several
/// programs may change it at the same time. A file that holds no such object reads as empty, and is kept
/// aside under another name when it is first written over.
class JsonPreferenceStore final : public PreferenceStore {
public:
    /// The file and its folder are made when first needed.
    explicit JsonPreferenceStore(const QString& path);
    ~JsonPreferenceStore() override;

    QVariant value(const QString& key) const override;
    bool setValue(const QString& key, const QVariant& value) override;
    bool remove(const QString& key) override;
    QStringList keys() const override;

    /// Makes the folder, since only an existing one can be watched.
    void watch(std::function<void()> changed) override;

private:
    QJsonObject read() const;
    bool change(const std::function<void(QJsonObject&)>& edit);

    const QString m_path;
    const QString m_folder;
    QList<std::function<void()>> m_watchers;
    std::unique_ptr<FileWatch> m_watch;
};

} // namespace tavrik
