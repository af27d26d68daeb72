#include "platform/CorePlatform.h"

#include "platform/linux/DBusApplicationInstance.h"
#include "platform/linux/JsonPreferenceStore.h"
#include "platform/linux/XdgFolders.h"

namespace tavrik {

std::unique_ptr<ApplicationInstance> makeApplicationInstance() {
    return std::make_unique<DBusApplicationInstance>();
}

std::unique_ptr<PreferenceStore> makePreferenceStore() {
    return std::make_unique<JsonPreferenceStore>(xdgPreferencesFile());
}

} // namespace tavrik
