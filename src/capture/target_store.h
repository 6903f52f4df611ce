// The captured-target record and the store that keeps records under capture tokens.
// The store holds at most four records; a token is taken out at most once.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "platform/platform.h"

namespace textport {

// One captured input target. Immutable; copies share the element references.
struct CapturedTarget {
  Element element;                // receives the paste: focused element, composer or window
  std::optional<Element> window;  // the focused window at capture, when it could be read
  bool composer = false;          // captured in mode "composer"
  bool windowPaste = false;       // captured in mode "window_paste"
  std::uint32_t mouseCount = 0;   // mouse-button presses counted at capture
  std::uint32_t keyCount = 0;     // key presses counted at capture
};

class TargetStore {
 public:
  static constexpr std::size_t kCapacity = 4;

  // Stores a record under a fresh token and returns the token. A full store is emptied first.
  std::string insert(Platform& platform, Element element, std::optional<Element> window,
                     bool composer, bool windowPaste);
  // Removes and returns the record of a token, or nothing when the token is unknown.
  std::optional<CapturedTarget> take(const std::string& token);
  std::size_t size() const { return records_.size(); }
  bool contains(const std::string& token) const { return records_.count(token) != 0; }

 private:
  std::map<std::string, CapturedTarget> records_;
};

}  // namespace textport
