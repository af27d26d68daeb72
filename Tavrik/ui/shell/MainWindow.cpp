#include "ui/shell/MainWindow.h"

#include "platform/WindowActivator.h"
#include "ui/account/AccountModel.h"
#include "ui/controls/ShadowProvider.h"
#include "ui/history/HistoryPages.h"

#include <QFontInfo>
#include <QGuiApplication>
#include <QIcon>
#include <QMargins>
#include <QQmlEngine>
#include <QQuickView>
#include <QScreen>

#include <utility>

void qml_register_types_Tavrik();

namespace tavrik {

namespace {

constexpr QSize firstSize(980, 640);
constexpr QSize smallestSize(900, 560);
// What a frame takes at most; how much it really is shows only with the window.
constexpr QMargins frame(6, 38, 6, 6);

/// Adds faces for Persian to the interface font, which often has none of its own.
void providePersianFaces() {
    auto font = QGuiApplication::font();
    // The real face: a name like "Sans" would leave the choice to the faces behind it.
    font.setFamilies({QFontInfo(font).family(), QStringLiteral("Vazirmatn"),
                      QStringLiteral("Noto Sans Arabic UI"), QStringLiteral("Noto Sans Arabic")});
    QGuiApplication::setFont(font);
}

} // namespace

/// What the window shows, and the window.
struct MainWindowController::Content {
    Content(const Dependencies& dependencies, QQmlEngine& engine);

    const QString fullUserName;
    AccountModel account;
    SettingsModel settings;
    HistoryPages pages;
    QQuickView view;
};

MainWindowController::Content::Content(const Dependencies& dependencies, QQmlEngine& engine)
    : fullUserName(dependencies.fullUserName()),
      account(dependencies.account, dependencies.links, fullUserName), settings(dependencies.settings),
      pages({.store = dependencies.history(),
             .clipboard = dependencies.clipboard,
             .queue = dependencies.queue,
             .days = dependencies.days,
             .fullUserName = fullUserName}),
      view(&engine, nullptr) {
    qml_register_types_Tavrik();
    providePersianFaces();
    engine.addImageProvider(QStringLiteral("shadows"), new ShadowProvider);
    view.setTitle(QStringLiteral("Tavrik"));
    view.setIcon(QIcon(QStringLiteral(":/tavrik/Logo.svg")));
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    const auto room = view.screen()->availableGeometry() - frame;
    const auto size = firstSize.boundedTo(room.size());
    view.setMinimumSize(smallestSize.boundedTo(size));
    view.resize(size);
    view.setPosition(room.center() - QRect(QPoint(), size).center());
    view.setInitialProperties({{QStringLiteral("account"), QVariant::fromValue(&account)},
                               {QStringLiteral("settings"), QVariant::fromValue(&settings)},
                               {QStringLiteral("pages"), QVariant::fromValue(&pages)}});
    view.setSource(QUrl(QStringLiteral("qrc:/qml/Tavrik/shell/MainView.qml")));
}

MainWindowController::MainWindowController(Dependencies dependencies, QQmlEngine& engine)
    : m_dependencies(std::move(dependencies)), m_engine(engine) {}

MainWindowController::~MainWindowController() = default;

void MainWindowController::show(const QByteArray& activationToken) {
    if (!m_content)
        m_content = std::make_unique<Content>(m_dependencies, m_engine);
    auto& view = m_content->view;
    m_content->pages.aboutToShow();
    view.setWindowStates(view.windowStates() & ~Qt::WindowMinimized);
    view.show();
    m_dependencies.activator.activate(view, activationToken);
}

QWindow* MainWindowController::window() const {
    return m_content ? &m_content->view : nullptr;
}

} // namespace tavrik
