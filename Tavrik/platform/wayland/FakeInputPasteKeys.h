#pragma once

#include "platform/PasteKeys.h"
#include "platform/wayland/ActiveWindow.h"
#include "platform/wayland/WaylandConnection.h"

#include <QTimer>

#include <bitset>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace tavrik {

/// Control+V, or Shift+Insert in terminals and where no layout has a v, typed on the user's own keyboard as
/// far as programs can tell: modifiers held down would apply to them too. KWin lets in only programs whose
/// desktop file asks for it (X-KDE-Wayland-Interfaces), and notices new desktop files seconds late.
class FakeInputPasteKeys : public PasteKeys {
public:
    /// Whether the compositor is one that offers what this needs, to some programs at least.
    static bool isOffered(const WaylandConnection& connection);

    struct Dependencies {
        /// What the clipboard uses.
        WaylandConnection& connection;
        /// The evdev code of the key that carries v, in any layout.
        std::function<std::optional<quint32>()> keyForV;
        /// Called when the window that has the focus is about to paste the selection instead of the
        /// clipboard.
        std::function<void()> offerSelection;
        /// Serve for as long as KWin does not let us in.
        std::unique_ptr<PasteKeys> otherwise;
    };

    explicit FakeInputPasteKeys(Dependencies dependencies);
    ~FakeInputPasteKeys() override;

    ServiceStatus status() const override;
    /// There is nobody to ask where KWin lets us in.
    void requestPermission(PermissionRequest request, std::function<void()> answered) override;
    /// While one waits for modifiers to be let go, another adds no keys, and ends with it: the clipboard
    /// holds the newer text by then.
    void sendPaste(Completion<void> completion) override;

private:
    struct Input;

    bool open(WaylandConnection& connection);
    bool isLetIn();
    void watchModifiers();
    void sendIfFree();
    void end(const Result<void>& outcome);
    /// `state` is that of wl_keyboard.
    void move(quint32 key, quint32 state);
    void type(quint32 modifier, quint32 key);

    const Dependencies m_dependencies;
    std::unique_ptr<Input> m_input;
    QTimer m_bound;
    std::vector<Completion<void>> m_waiting;
};

} // namespace tavrik
