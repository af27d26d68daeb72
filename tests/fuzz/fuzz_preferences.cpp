#include "platform/linux/JsonPreferenceStore.h"
#include "preferences/PreferenceKeys.h"
#include "preferences/Settings.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdlib>

using namespace tavrik;

namespace {

QVariantMap content(const JsonPreferenceStore& store) {
    QVariantMap values;
    for (const auto& key : store.keys())
        values.insert(key, store.value(key));
    return values;
}

void readAll(const Settings& settings) {
    (void)settings.hotKeyKeyCode();
    (void)settings.hotKeyModifiers();
    (void)settings.hotKeyDisplay();
    (void)settings.soundsEnabled();
    (void)settings.targetLanguage();
    (void)settings.appearance();
    (void)settings.model();
    (void)settings.openRouterKey();
    (void)settings.sidebarCollapsed();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const QTemporaryDir folder;
    const auto path = folder.filePath(QStringLiteral("preferences.json"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size)) < 0)
        std::abort();
    file.close();

    JsonPreferenceStore store(path);
    readAll(Settings(store));

    // One change changes one value, whatever else is there; what could not be read is still somewhere.
    const auto name = preferences::soundsEnabled.name.toString();
    auto expected = content(store);
    expected.insert(name, false);
    if (!store.setValue(name, false) || content(store) != expected)
        std::abort();
    for (const auto& aside : QDir(folder.path()).entryList({QStringLiteral("* (unreadable *")}))
        QFile::remove(folder.filePath(aside));
    return 0;
}
