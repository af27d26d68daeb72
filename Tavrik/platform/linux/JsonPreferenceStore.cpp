#include "platform/linux/JsonPreferenceStore.h"

#include "base/FileLock.h"
#include "base/PrivateFiles.h"
#include "base/PrivateSaveFile.h"
#include "platform/linux/FileWatch.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonValue>

#include <utility>

using namespace std::chrono_literals;

namespace tavrik {

namespace {

constexpr qint64 maximumSize = qint64{1} << 20;
constexpr auto patience = 2s;

std::optional<QJsonObject> parsed(const QByteArray& content) {
    const auto document = QJsonDocument::fromJson(content);
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

} // namespace

JsonPreferenceStore::JsonPreferenceStore(const QString& path)
    : m_path(path), m_folder(QFileInfo(path).absolutePath()) {
    if (QFileInfo::exists(m_path))
        narrowToOwner(m_path);
    if (QFileInfo::exists(m_folder))
        narrowToOwner(m_folder);
}

JsonPreferenceStore::~JsonPreferenceStore() = default;

QVariant JsonPreferenceStore::value(const QString& key) const {
    const auto object = read();
    const auto found = object.find(key);
    return found == object.end() ? QVariant() : found->toVariant();
}

bool JsonPreferenceStore::setValue(const QString& key, const QVariant& value) {
    return change([&](QJsonObject& object) { object.insert(key, QJsonValue::fromVariant(value)); });
}

bool JsonPreferenceStore::remove(const QString& key) {
    return change([&](QJsonObject& object) { object.remove(key); });
}

QStringList JsonPreferenceStore::keys() const {
    return read().keys();
}

void JsonPreferenceStore::watch(std::function<void()> changed) {
    m_watchers << std::move(changed);
    if (m_watch)
        return;
    makePrivateFolder(m_folder);
    m_watch = std::make_unique<FileWatch>(m_path, maximumSize, [this] {
        for (const auto& watcher : QList(m_watchers))
            watcher();
    });
}

QJsonObject JsonPreferenceStore::read() const {
    return readRegularFile(m_path, maximumSize).and_then(parsed).value_or(QJsonObject());
}

bool JsonPreferenceStore::change(const std::function<void(QJsonObject&)>& edit) {
    if (!makePrivateFolder(m_folder))
        return false;
    const FileLock lock(m_folder + QStringLiteral("/.preferences.lock"), patience);
    if (!lock.isHeld())
        return false;
    const auto content = readRegularFile(m_path, maximumSize);
    const auto stored = content.and_then(parsed);
    auto edited = stored.value_or(QJsonObject());
    edit(edited);
    if (stored ? edited == *stored : edited.isEmpty())
        return true;
    if (!stored && !keepAside(m_path, QStringLiteral("unreadable")))
        return false;
    const auto replacement = QJsonDocument(edited).toJson();
    PrivateSaveFile file(m_path);
    file.write(replacement);
    if (!file.commit())
        return false;
    if (m_watch)
        m_watch->replaced(content, replacement);
    return true;
}

} // namespace tavrik
