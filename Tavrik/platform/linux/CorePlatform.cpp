#include "platform/CorePlatform.h"

#include "platform/linux/DBusApplicationInstance.h"
#include "platform/linux/JsonPreferenceStore.h"
#include "platform/linux/XdgFolders.h"

#include <dlfcn.h>

namespace tavrik {

std::unique_ptr<ApplicationInstance> makeApplicationInstance() {
    return std::make_unique<DBusApplicationInstance>();
}

std::unique_ptr<PreferenceStore> makePreferenceStore() {
    return std::make_unique<JsonPreferenceStore>(xdgPreferencesFile());
}

Result<ProgramEntry> loadProgram(const char* entry) {
    // Not QLibrary: the name begins with $ORIGIN, which means the folder of whoever calls dlopen.
    auto* library = ::dlopen(TAVRIK_LIBRARY, RTLD_LAZY);
    auto* found = library ? ::dlsym(library, entry) : nullptr;
    if (!found)
        return std::unexpected(Error{QString::fromLocal8Bit(::dlerror())});
    return reinterpret_cast<ProgramEntry>(found);
}

} // namespace tavrik
