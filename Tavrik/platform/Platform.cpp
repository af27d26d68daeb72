// The one place that chooses what serves this desktop.

#include "platform/Platform.h"

#include "platform/linux/DBusApplicationInstance.h"
#include "platform/linux/JsonPreferenceStore.h"
#include "platform/linux/PortalAppearance.h"
#include "platform/linux/PulseMicrophone.h"
#include "platform/linux/PulseSoundPlayer.h"
#include "platform/linux/TrayStatusItem.h"
#include "platform/linux/XdgFolders.h"
#include "platform/qt/MessageBoxAlerts.h"
#include "platform/qt/QtClipboard.h"
#include "platform/x11/X11HotKeyBackend.h"
#include "platform/x11/X11PanelHost.h"
#include "platform/x11/X11PasteKeys.h"

namespace tavrik {

} // namespace tavrik
