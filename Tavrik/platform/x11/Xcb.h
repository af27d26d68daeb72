#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <utility>

namespace tavrik {

/// What xcb hands out: replies, events and errors.
template<class T>
using XcbPointer = std::unique_ptr<T, decltype([](T* reply) { std::free(reply); })>;

/// Whether there is a server behind DISPLAY that lets this process in. Needs no application object.
bool xServerAnswers();

/// Calls `lost`, which must end the process, when the server behind the application's own windows is gone.
/// Otherwise Xlib prints a line and calls exit().
void onXServerLost(void (*lost)());

/// The connection the application's own windows use. Null where that is not X11.
xcb_connection_t* applicationConnection();

/// Finds atoms by their names and writes each where it belongs. Waits for the server once.
void fetchAtoms(xcb_connection_t* connection,
                std::initializer_list<std::pair<const char*, xcb_atom_t*>> atoms);

/// The atom of that name.
xcb_atom_t xcbAtom(xcb_connection_t* connection, const char* name);

/// Whether some client owns the selection.
bool hasOwner(xcb_connection_t* connection, xcb_atom_t selection);

} // namespace tavrik
