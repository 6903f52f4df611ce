// Opening a connection to the X server that never prints and never exits on a protocol error.
#pragma once

#include <X11/Xlib.h>

namespace textport::x11 {

// Opens the display named by DISPLAY, or nothing. Xlib's default handlers print and exit the
// process on a protocol error (a requestor window that vanished answers BadWindow); these ignore
// protocol errors, and end the process quietly when the server connection itself is lost.
Display* openQuietDisplay();

}  // namespace textport::x11
