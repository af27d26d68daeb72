#include "platform/qt/MessageBoxAlerts.h"

#include "base/DisplayedText.h"
#include "platform/WindowActivator.h"

#include <QElapsedTimer>
#include <QGridLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QTextDocument>
#include <QTextEdit>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

/// Keeps from a window the keys that were meant for another.
class TypingFilter : public QObject {
public:
    explicit TypingFilter(QObject* parent) : QObject(parent) { m_quiet.start(); }

    bool eventFilter(QObject* watched, QEvent* event) override {
        const auto type = event->type();
        if (type != QEvent::KeyPress && type != QEvent::KeyRelease && type != QEvent::ShortcutOverride)
            return false;
        if (m_quiet.hasExpired(500)) {
            watched->removeEventFilter(this);
            return false;
        }
        m_quiet.restart();
        // An accepted override is no shortcut.
        event->accept();
        return true;
    }

private:
    QElapsedTimer m_quiet;
};

constexpr QSize pictureSize{48, 48};
constexpr double narrowestText = 240;
constexpr double widestText = 420;

/// The informative text as a view that wraps anywhere and scrolls, since a message may be of any length, and
/// one word. The message box's own label does neither, and takes tags for formatting.
QTextEdit* makeTextView(const QString& text, int greatestHeight) {
    auto* view = new QTextEdit;
    view->setReadOnly(true);
    view->setFrameShape(QFrame::NoFrame);
    view->viewport()->setAutoFillBackground(false);
    view->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->setTabChangesFocus(true);
    view->setPlainText(text);
    view->setAccessibleName(text);

    view->document()->setDocumentMargin(0);
    view->setCursorWidth(0);

    // Measured in a document of its own: the view lays its own out to its own width, which it does not have
    // yet.
    QTextDocument measured;
    measured.setDocumentMargin(0);
    measured.setDefaultFont(view->font());
    measured.setDefaultTextOption(view->document()->defaultTextOption());
    measured.setPlainText(text);
    measured.setTextWidth(widestText);
    const int width =
        static_cast<int>(std::ceil(std::clamp(measured.idealWidth(), narrowestText, widestText)));
    const int height = static_cast<int>(std::ceil(measured.size().height()));
    const bool scrolls = height > greatestHeight;
    view->setVerticalScrollBarPolicy(scrolls ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
    view->setFixedSize(width + (scrolls ? view->verticalScrollBar()->sizeHint().width() : 0),
                       std::min(height, greatestHeight));
    return view;
}

} // namespace

MessageBoxAlerts::MessageBoxAlerts(MainQueue& queue, WindowActivator& activator)
    : m_queue(queue), m_activator(activator) {}

MessageBoxAlerts::~MessageBoxAlerts() = default;

void MessageBoxAlerts::show(const Alert& alert, std::function<void(int)> answered) {
    m_pending.push_back({alert, std::move(answered)});
    if (!m_hold) {
        m_hold.emplace(m_queue);
        presentNext();
    }
}

void MessageBoxAlerts::presentNext() {
    const auto& alert = m_pending.front().alert;
    m_box = std::make_unique<QMessageBox>();
    auto& box = *m_box;
    box.setWindowTitle(u"Tavrik"_s);
    if (m_logo.isNull()) {
        m_logo = QIcon(u":/tavrik/Logo.svg"_s);
        m_warning = QIcon(u":/tavrik/Warning.svg"_s);
    }
    box.setWindowIcon(m_logo);
    const auto& picture = alert.style == Alert::Style::warning ? m_warning : m_logo;
    box.setIconPixmap(picture.pixmap(pictureSize, box.devicePixelRatio()));
    box.setTextFormat(Qt::PlainText);
    box.setText(alert.messageText);
    if (auto* heading = box.findChild<QLabel*>(u"qt_msgbox_label"_s)) {
        auto font = heading->font();
        font.setBold(true);
        heading->setFont(font);
    }
    const bool takesKeyboard = alert.activates || QGuiApplication::focusWindow();
    box.setAttribute(Qt::WA_ShowWithoutActivating, !takesKeyboard);
    // A modal window asks for the keyboard as it comes up.
    box.setWindowModality(takesKeyboard ? Qt::ApplicationModal : Qt::NonModal);
    // On top, since the program has no window the user works in that would bring the alert forward.
    box.setWindowFlag(Qt::WindowStaysOnTopHint);
    box.setAttribute(Qt::WA_QuitOnClose, false);

    if (!alert.informativeText.isEmpty()) {
        // The cell of the box's own informative label, which is not made when it has no text.
        auto* grid = static_cast<QGridLayout*>(box.layout());
        grid->addWidget(
            makeTextView(displayedText(alert.informativeText), box.screen()->availableSize().height() / 2), 1,
            2);
        grid->setVerticalSpacing(12);
    }

    QList<QAbstractButton*> buttons;
    for (const auto& title : alert.buttons) {
        auto* button = box.addButton(QString(title).replace(u'&', u"&&"_s),
                                     buttons.isEmpty() ? QMessageBox::AcceptRole : QMessageBox::RejectRole);
        button->setToolTip(alert.toolTips.value(buttons.size()));
        buttons += button;
    }
    if (buttons.isEmpty())
        buttons += box.addButton(QMessageBox::Ok);
    // Some styles draw one on the standard button alone.
    buttons.front()->setIcon({});
    box.setDefaultButton(static_cast<QPushButton*>(buttons.front()));
    box.setEscapeButton(buttons.back());

    QObject::connect(&box, &QMessageBox::finished, &box, [this, buttons] {
        // A box that is closed names no button yet.
        auto* clicked = m_box->clickedButton();
        finish(static_cast<int>(clicked ? buttons.indexOf(clicked) : buttons.size() - 1));
    });
    box.show();
    if (alert.ignoresTyping)
        box.windowHandle()->installEventFilter(new TypingFilter(&box));
    box.raise();
    if (takesKeyboard)
        m_activator.activate(*box.windowHandle(), {});
}

void MessageBoxAlerts::finish(int chosen) {
    // This runs in a signal of the box.
    m_box.release()->deleteLater();
    const auto answered = std::move(m_pending.front().answered);
    if (answered)
        answered(chosen);
    m_pending.pop_front();
    if (m_pending.empty())
        m_hold.reset();
    else
        presentNext();
}

} // namespace tavrik
