#pragma once

#include "platform/x11/Xcb.h"

// The XKB header names a structure's member "explicit".
#define explicit explicitComponents // NOLINT(clang-diagnostic-keyword-macro)
#include <xcb/xkb.h>
#undef explicit
