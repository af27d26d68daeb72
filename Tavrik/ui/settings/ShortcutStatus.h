#pragma once

#include "platform/HotKeyBackend.h"
#include "platform/PlatformTexts.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace tavrik {

class AbstractHotKeyOwner;
class Clipboard;
class PasteKeys;
class Settings;

/// What the desktop makes of the shortcut and of the paste that follows it, and what the user can do about
/// it. Main thread only.
class ShortcutStatus : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Views are given it.")
    Q_PROPERTY(QString note READ note NOTIFY changed)
    Q_PROPERTY(QString warning READ warning NOTIFY changed)
    Q_PROPERTY(QString remedy READ remedy NOTIFY changed)
    Q_PROPERTY(QString pasteWarning READ pasteWarning NOTIFY changed)
    Q_PROPERTY(QString pasteRemedy READ pasteRemedy NOTIFY changed)
    Q_PROPERTY(QString bindingPlace READ bindingPlace NOTIFY changed)
    Q_PROPERTY(QString bindingLines READ bindingLines NOTIFY changed)

public:
    struct Dependencies {
        const Settings& settings;
        AbstractHotKeyOwner& hotKey;
        PasteKeys& pasteKeys;
        /// Takes the lines that are copied.
        Clipboard& clipboard;
        PlatformTexts texts;
    };

    explicit ShortcutStatus(Dependencies dependencies, QObject* parent = nullptr);

    /// Which keys to press: those that the desktop has assigned, in its own words, where it was others than
    /// asked for; else what the shortcut's signs mean on this keyboard. Empty where the keys bear the signs.
    QString note() const;
    /// What keeps the shortcut from working, or restricts it; empty if nothing does. The remedy is what a
    /// button beside it offers, or empty.
    QString warning() const;
    QString remedy() const;
    /// The same for the paste.
    QString pasteWarning() const;
    QString pasteRemedy() const;
    /// What the user must add to the desktop's configuration, and where; empty if nothing.
    QString bindingPlace() const { return m_bindings.place; }
    QString bindingLines() const { return m_bindings.lines; }

    Q_INVOKABLE void applyRemedy();
    Q_INVOKABLE void applyPasteRemedy();
    Q_INVOKABLE void copyBindings();

    /// What is shown may be out of date.
    void refresh();

Q_SIGNALS:
    void changed();

private:
    const Dependencies m_dependencies;
    KeyBindings m_bindings;
};

} // namespace tavrik
