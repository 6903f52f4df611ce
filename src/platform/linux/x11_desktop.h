// The X server's side of the desktop that is not the clipboard: which application has the
// keyboard focus, top-level windows, the activity counters (XInput2 raw presses) and synthesised
// input (XTest).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace textport::x11 {

class X11Desktop {
 public:
  // Connects to the display named by DISPLAY; nothing when there is none.
  static std::unique_ptr<X11Desktop> connect();
  virtual ~X11Desktop() = default;

  // The process owning the active window (while a window manager runs) or the input focus.
  virtual std::optional<Pid> focusedPid() = 0;
  // The process, when it runs, with its application id and name.
  virtual std::optional<RunningApp> runningApplication(Pid pid) = 0;
  // The X window id of a top-level window of the process with that title, or 0.
  virtual std::int64_t windowNumber(Pid pid, const std::string& title) = 0;

  // Raw presses seen since the connection opened, by macOS event type.
  virtual std::uint32_t pressCount(EventType type) = 0;
  // Whether synthesised input reaches the server (XTest is present).
  virtual bool canSynthesise() = 0;
  // A key press or release for a macOS virtual key code; false when the key has no X keycode.
  virtual bool postKey(std::uint16_t macKeyCode, bool down) = 0;
  // A pointer event at a location: a move, or a press or release of a button.
  virtual bool postPointer(EventType type, Point location, MouseButton button) = 0;
  virtual std::optional<Point> pointerLocation() = 0;
  // Releases every held modifier, then types Control+V (with Shift for terminals) using the
  // keycode that gives "v" in the current layout. False, and nothing sent, when no key gives "v".
  virtual bool postPaste(bool terminal) = 0;
};

}  // namespace textport::x11
