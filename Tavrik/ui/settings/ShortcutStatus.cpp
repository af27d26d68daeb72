#include "ui/settings/ShortcutStatus.h"

#include "capture/AbstractHotKeyOwner.h"
#include "platform/Clipboard.h"
#include "platform/PasteKeys.h"
#include "preferences/Settings.h"

#include <utility>

namespace tavrik {

using namespace Qt::StringLiterals;

ShortcutStatus::ShortcutStatus(Dependencies dependencies, QObject* parent)
    : QObject(parent), m_dependencies(std::move(dependencies)) {
    connect(&m_dependencies.hotKey, &Service::statusChanged, this, &ShortcutStatus::refresh);
    connect(&m_dependencies.pasteKeys, &Service::statusChanged, this, &ShortcutStatus::changed);
}

QString ShortcutStatus::note() const {
    const auto assigned = m_dependencies.hotKey.assignedTrigger();
    return assigned.isEmpty() ? m_dependencies.texts.shortcutNote(m_dependencies.settings.hotKeyDisplay())
                              : u"Assigned by your desktop: "_s + assigned;
}

QString ShortcutStatus::warning() const {
    // The lines stand beside it, and say the same.
    return m_bindings.lines.isEmpty() ? m_dependencies.hotKey.status().reason : QString();
}

QString ShortcutStatus::remedy() const {
    return m_dependencies.hotKey.status().remedy;
}

QString ShortcutStatus::pasteWarning() const {
    const auto status = m_dependencies.pasteKeys.status();
    return status.works ? status.reason : u"Your text stays on the clipboard: "_s + status.reason;
}

QString ShortcutStatus::pasteRemedy() const {
    return m_dependencies.pasteKeys.status().remedy;
}

void ShortcutStatus::applyRemedy() {
    m_dependencies.hotKey.hotKeyChanged(PermissionRequest::byUser);
}

void ShortcutStatus::applyPasteRemedy() {
    m_dependencies.pasteKeys.requestPermission(PermissionRequest::byUser, [] {});
}

void ShortcutStatus::copyBindings() {
    m_dependencies.clipboard.setText(m_bindings.lines + u'\n');
}

void ShortcutStatus::refresh() {
    m_bindings = m_dependencies.hotKey.bindings();
    Q_EMIT changed();
}

} // namespace tavrik
