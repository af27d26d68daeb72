#include "platform/portal/PortalGrants.h"

#include "base/PrivateFiles.h"
#include "base/PrivateSaveFile.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

constexpr qint64 maximumSize = qint64{1} << 16;
const auto shortcuts = u"askedForShortcuts"_s;
const auto granted = u"grantedShortcuts"_s;
const auto pasting = u"askedForPasting"_s;
const auto token = u"pasteToken"_s;

} // namespace

PortalGrants::PortalGrants(const QString& path) : m_path(path) {
    narrowToOwner(m_path);
    m_grants = QJsonDocument::fromJson(readRegularFile(m_path, maximumSize).value_or(QByteArray())).object();
}

bool PortalGrants::wasAskedForShortcut(const QString& id) const {
    return m_grants.value(shortcuts).toArray().contains(id);
}

void PortalGrants::setAskedForShortcut(const QString& id) {
    if (wasAskedForShortcut(id))
        return;
    auto asked = m_grants.value(shortcuts).toArray();
    asked.append(id);
    set(shortcuts, asked);
}

bool PortalGrants::isShortcutGranted(const QString& id) const {
    return m_grants.value(granted).toArray().contains(id);
}

void PortalGrants::setShortcutGranted(const QString& id, bool isGranted) {
    if (isShortcutGranted(id) == isGranted)
        return;
    auto ids = m_grants.value(granted).toArray();
    if (isGranted)
        ids.append(id);
    else
        ids.erase(std::ranges::find(ids, QJsonValue(id)));
    set(granted, ids);
}

bool PortalGrants::wasAskedForPasting() const {
    return m_grants.value(pasting).toBool();
}

void PortalGrants::setAskedForPasting() {
    set(pasting, true);
}

QString PortalGrants::pasteToken() const {
    return m_grants.value(token).toString();
}

void PortalGrants::setPasteToken(const QString& newToken) {
    set(token, newToken);
}

void PortalGrants::set(const QString& key, const QJsonValue& value) {
    if (m_grants.value(key) == value)
        return;
    m_grants.insert(key, value);
    if (!makePrivateFolder(QFileInfo(m_path).absolutePath()))
        return;
    PrivateSaveFile file(m_path);
    file.write(QJsonDocument(m_grants).toJson());
    file.commit();
}

} // namespace tavrik
