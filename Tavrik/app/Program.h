#pragma once

#include "platform/HotKeyCommand.h"
#include "platform/Service.h"

#include <QByteArrayList>
#include <QList>

#include <memory>

namespace tavrik {

/// The running program: every object it consists of, put together. Main thread; made after QApplication and
/// destroyed before it.
class Program {
public:
    Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    /// Gives up a recording or translation in progress.
    ~Program();

    /// The launch sequence; once.
    void start();

    /// The user has started the program by a menu: shows the window where no icon appears in the tray, or
    /// they would see nothing at all. The activation token may be empty.
    void launchedFromMenu(const QByteArray& activationToken);

    /// The user has started the program again. The activation token may be empty.
    void reopen(const QByteArray& activationToken);

    /// Takes in URLs, byte for byte as they were given, and shows the window.
    void open(const QByteArrayList& urls, const QByteArray& activationToken);

    /// A key binding of the user's own has been pressed or released.
    void receive(HotKeyCommand command);

    /// What must be done before another program of this user may start: the dictation ends, and the history
    /// is on disk.
    void leave();

    /// Does what must not be left undone where the process ends without destroying this: no speech stays on
    /// disk, and the history is written.
    void abandon();

    /// What a dictation needs or profits from, in the order of one: the desktop's services, and the history.
    QList<NamedService> services() const;

private:
    struct Objects;

    std::unique_ptr<Objects> m_objects;
};

} // namespace tavrik
