#include "platform/linux/QtPlatform.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace tavrik {

using namespace Qt::StringLiterals;

namespace {

/// By the rules of wl_display_connect.
bool compositorAnswers() {
    if (qEnvironmentVariableIsSet("WAYLAND_SOCKET"))
        return true;
    const auto name = qEnvironmentVariable("WAYLAND_DISPLAY", u"wayland-0"_s);
    const auto path = QFile::encodeName(QDir(qEnvironmentVariable("XDG_RUNTIME_DIR")).absoluteFilePath(name));
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    if (path.size() >= static_cast<qsizetype>(sizeof address.sun_path))
        return false;
    std::memcpy(&address.sun_path[0], path.constData(), static_cast<std::size_t>(path.size()));
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        return false;
    const bool answers =
        ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(descriptor);
    return answers;
}

bool hasWaylandPlugin() {
    return std::ranges::any_of(QCoreApplication::libraryPaths(), [](const QString& path) {
        return !QDir(path + "/platforms"_L1).entryList({u"libqwayland*.so"_s}).isEmpty();
    });
}

} // namespace

Result<QByteArray> chooseQtPlatform(bool (*xServerAnswers)()) {
    auto wanted = qgetenv("QT_QPA_PLATFORM");
    if (wanted.startsWith("offscreen") || wanted.startsWith("minimal"))
        return wanted;
    if (xServerAnswers())
        return QByteArrayLiteral("xcb");
    if (!compositorAnswers())
        return std::unexpected(Error{u"No display answers: neither an X server nor a Wayland compositor."_s});
    if (!hasWaylandPlugin())
        return std::unexpected(Error{
            u"This desktop has no X server, and Qt's plugin for Wayland is missing. Install the package "
            "qt6-wayland, or XWayland."_s});
    return QByteArrayLiteral("wayland");
}

} // namespace tavrik
