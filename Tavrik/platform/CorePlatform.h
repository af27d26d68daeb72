#pragma once

#include <memory>

// What commands need of the platform: no display, no application object, and none of the program's library.
namespace tavrik {

class ApplicationInstance;
class PreferenceStore;

/// Whether the program already runs in this session, and the way to reach it.
std::unique_ptr<ApplicationInstance> makeApplicationInstance();

/// The preference store of this desktop. Watching it needs a core application.
std::unique_ptr<PreferenceStore> makePreferenceStore();

} // namespace tavrik
