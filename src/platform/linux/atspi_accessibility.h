// Accessibility on X11 through AT-SPI2 (libatspi), answered in macOS's vocabulary: roles, attribute
// names, UTF-16 ranges and error codes as the core knows them. Every call is bounded by the
// messaging timeout in force for its element.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/platform.h"

namespace textport::x11 {

// What accessibility needs to know from the X server.
struct WindowSystem {
  // The process of the application that has the keyboard focus.
  std::function<std::optional<Pid>()> frontmostPid;
  // The X window id of a top-level window of that process with that title, or 0.
  std::function<std::int64_t(Pid, const std::string& title)> windowNumber;
};

class AtspiAccessibility {
 public:
  // Connects to the accessibility bus; nothing when libatspi cannot start or finds no bus.
  // libatspi reports D-Bus trouble through GLib's log, which would write to standard error, so
  // connecting also drops GLib log messages of every domain that has no handler of its own
  // (process-wide; the handler holds no state).
  static std::unique_ptr<AtspiAccessibility> connect(WindowSystem windowSystem);
  virtual ~AtspiAccessibility() = default;

  // Whether the accessibility bus answers (the desktop's registry responds in time).
  virtual bool available() = 0;
  virtual Element applicationElement(Pid pid) = 0;
  virtual Element systemWideElement() = 0;
  virtual AXError setMessagingTimeout(const Element& element, float seconds) = 0;
  virtual AXResult copyAttributeValue(const Element& element, const std::string& attribute) = 0;
  virtual AXResult copyParameterizedAttributeValue(const Element& element,
                                                   const std::string& attribute,
                                                   const Value& parameter) = 0;
  virtual AXError setAttributeValue(const Element& element, const std::string& attribute,
                                    const Value& value) = 0;
  virtual AXError performAction(const Element& element, const std::string& action) = 0;
  virtual std::optional<Pid> pidOfElement(const Element& element) = 0;
  // Whether the application's focused element is a terminal (it pastes with Shift added).
  virtual bool focusedElementIsTerminal(Pid pid) = 0;
};

}  // namespace textport::x11
