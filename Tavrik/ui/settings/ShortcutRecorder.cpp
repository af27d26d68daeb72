#include "ui/settings/ShortcutRecorder.h"

#include "capture/AbstractHotKeyOwner.h"
#include "platform/KeyReader.h"
#include "platform/PreferenceStore.h"
#include "preferences/PreferenceKeys.h"
#include "preferences/Settings.h"
#include "ui/settings/ShortcutText.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QWindow>

namespace tavrik {

namespace {

constexpr quint32 escapeKeyCode = 53;

} // namespace

ShortcutRecorder::ShortcutRecorder(const Dependencies& dependencies, QObject* parent)
    : QObject(parent), m_dependencies(dependencies) {
    // Without the focus there are no keys to record, and the hot key is needed again.
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, [this](const QWindow* window) {
        if (m_phase != Phase::idle && window != m_window)
            end();
    });
}

ShortcutRecorder::~ShortcutRecorder() {
    cancel();
}

QString ShortcutRecorder::display() const {
    return m_dependencies.settings.hotKeyDisplay();
}

void ShortcutRecorder::toggle() {
    if (m_phase == Phase::idle)
        begin();
    else
        end();
}

void ShortcutRecorder::cancel() {
    if (m_phase != Phase::idle)
        end();
}

void ShortcutRecorder::begin() {
    m_dependencies.hotKey.releaseHotKey();
    m_phase = Phase::recording;
    m_isChosen = false;
    qGuiApp->installEventFilter(this);
    m_window = QGuiApplication::focusWindow();
    if (m_window) {
        m_window->setKeyboardGrabEnabled(true);
        // A window that is closed loses the focus without a word.
        connect(m_window, &QWindow::visibleChanged, this, &ShortcutRecorder::cancel);
    }
    Q_EMIT changed();
}

bool ShortcutRecorder::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::ShortcutOverride:
        // Accepted, it becomes no shortcut.
        event->accept();
        return true;
    case QEvent::KeyPress:
        if (watched->isWindowType() && m_phase == Phase::recording)
            keyPressed(*static_cast<QKeyEvent*>(event));
        return true;
    case QEvent::KeyRelease: {
        const auto& key = *static_cast<QKeyEvent*>(event);
        if (m_phase == Phase::awaitingRelease && !key.isAutoRepeat() && key.nativeScanCode() == m_lastKey)
            end();
        return true;
    }
    default:
        return false;
    }
}

void ShortcutRecorder::keyPressed(const QKeyEvent& event) {
    const auto press = m_dependencies.keys.read(event);
    if (!press)
        return;
    const auto [keyCode, modifiers] = press->combination;
    if (keyCode == escapeKeyCode)
        return awaitRelease(event);
    if (!(modifiers & (KeyCombination::command | KeyCombination::option | KeyCombination::control)))
        return;

    auto& store = m_dependencies.preferences;
    store.setValue(preferences::hotKeyKeyCode.name.toString(), qlonglong{keyCode});
    store.setValue(preferences::hotKeyModifiers.name.toString(), qlonglong{modifiers});
    store.setValue(preferences::hotKeyDisplay.name.toString(), shortcutText(*press));
    m_isChosen = true;
    awaitRelease(event);
}

void ShortcutRecorder::awaitRelease(const QKeyEvent& event) {
    m_phase = Phase::awaitingRelease;
    m_lastKey = event.nativeScanCode();
    Q_EMIT changed();
}

void ShortcutRecorder::end() {
    m_phase = Phase::idle;
    qGuiApp->removeEventFilter(this);
    if (m_window) {
        m_window->setKeyboardGrabEnabled(false);
        m_window->disconnect(this);
    }
    m_dependencies.hotKey.hotKeyChanged(m_isChosen ? PermissionRequest::byUser : PermissionRequest::once);
    Q_EMIT changed();
}

} // namespace tavrik
