#pragma once

// What stands in for services that the desktop lacks.

#include "platform/Clipboard.h"
#include "platform/HotKeyBackend.h"
#include "platform/PanelHost.h"
#include "platform/PasteKeys.h"

#include <utility>

namespace tavrik {

/// Does nothing, and knows why: a sentence for the user.
template<class Interface>
class NullService : public Interface {
public:
    explicit NullService(QString reason) : m_reason(std::move(reason)) {}

    ServiceStatus status() const override { return {QStringLiteral("none"), false, m_reason}; }

private:
    QString m_reason;
};

class NullClipboard final : public NullService<Clipboard> {
public:
    using NullService::NullService;

    void setText(const QString&) override {}
};

class NullHotKeyBackend final : public NullService<HotKeyBackend> {
public:
    using NullService::NullService;

    std::unique_ptr<Registration> registerHotKey(KeyCombination, PermissionRequest,
                                                 Handlers handlers) override;
};

class NullPanelHost final : public NullService<PanelHost> {
public:
    using NullService::NullService;

    void adopt(QWindow&) override {}
    void present(QWindow&, const QRect&, int) override {}
    void setClickableArea(QWindow&, const QRegion&) override {}
    bool isTranslucent() const override { return false; }
};

class NullPasteKeys final : public NullService<PasteKeys> {
public:
    using NullService::NullService;

    void requestPermission(PermissionRequest, std::function<void()> answered) override { answered(); }
    void sendPaste(Completion<void> completion) override;
};

} // namespace tavrik
