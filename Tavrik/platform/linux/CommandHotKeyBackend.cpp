#include "platform/linux/CommandHotKeyBackend.h"

#include "platform/linux/KeyBindingLines.h"

#include <QCoreApplication>
#include <QProcessEnvironment>

namespace tavrik {

using namespace Qt::StringLiterals;

namespace {

ServiceStatus commandStatus() {
    return {
        u"commands"_s, true,
        u"This desktop gives programs no shortcut: bind the commands tavrik press and tavrik release to a "
        "key in its configuration. Tavrik's settings show the lines."_s};
}

class CommandRegistration final : public HotKeyBackend::Registration {
public:
    explicit CommandRegistration(KeyCombination combination) : m_combination(combination) {}

    ServiceStatus status() const override { return commandStatus(); }

    KeyBindings bindings() const override {
        return keyBindingLines(m_combination, shellCommand(QCoreApplication::applicationFilePath()),
                               QProcessEnvironment::systemEnvironment());
    }

private:
    KeyCombination m_combination;
};

} // namespace

ServiceStatus CommandHotKeyBackend::status() const {
    return commandStatus();
}

std::unique_ptr<HotKeyBackend::Registration>
CommandHotKeyBackend::registerHotKey(KeyCombination combination, PermissionRequest, Handlers handlers) {
    handlers.settled();
    return std::make_unique<CommandRegistration>(combination);
}

} // namespace tavrik
