#pragma once

#include "platform/HotKeyCommand.h"

#include <QByteArrayList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace tavrik {

/// How the services of the desktop serve the program.
struct StatusReport {
    /// A line for each service, as `tavrik status` prints them.
    QString text;
    /// Whether all that a dictation needs works.
    bool canDictate = false;
};

/// Keeps the program to one instance for each user session. Main thread only.
class ApplicationInstance {
public:
    /// What later launches ask of the running program; called on the main thread. The activation token is
    /// what the launch was given as XDG_ACTIVATION_TOKEN or DESKTOP_STARTUP_ID, or empty.
    struct Handlers {
        /// The desktop has started the program for the very first call, which is this: the user has chosen it
        /// in a menu.
        std::function<void(const QByteArray& activationToken)> launched;
        /// Started again without arguments.
        std::function<void(const QByteArray& activationToken)> reopened;
        /// Started with URLs, each byte for byte as it was given.
        std::function<void(const QByteArrayList& urls, const QByteArray& activationToken)> urlsOpened;
        std::function<StatusReport()> status;
        std::function<void(HotKeyCommand)> hotKeyCommand;
    };

    ApplicationInstance() = default;
    ApplicationInstance(const ApplicationInstance&) = delete;
    ApplicationInstance& operator=(const ApplicationInstance&) = delete;
    virtual ~ApplicationInstance() = default;

    /// What the running program says of its services. Nothing when none runs, or it does not answer within a
    /// second. Needs a core application.
    virtual std::optional<StatusReport> askStatus() = 0;

    /// Becomes the running program. False when another was quicker. A desktop without a session bus cannot
    /// tell, and answers true.
    virtual bool claim(Handlers handlers) = 0;
};

} // namespace tavrik
