// The captured-target record and the store that keeps records under capture tokens.
// The store holds at most four records; a token is taken out at most once.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "capture/activity_counters.h"
#include "platform/platform.h"

namespace textport {

// How a target receives the paste.
enum class TargetMode {
  focused,      // the focused element itself
  composer,     // a chat application's message composer, focused again before the paste
  windowPaste,  // the chat application's focused window, when no composer could be found
};

// The mode's name in a target description ("focused", "composer", "window_paste").
const char* targetModeName(TargetMode mode);

// One captured input target. Immutable; copies share the element references.
struct CapturedTarget {
  Element element;                // receives the paste: focused element, composer or window
  std::optional<Element> window;  // the focused window at capture, when it could be read
  TargetMode mode = TargetMode::focused;
  ActivityCounts activity;  // the user's input counted at capture

  // Composer and window-paste targets are checked by the conversation rules.
  bool conversation() const { return mode != TargetMode::focused; }
};

class TargetStore {
 public:
  static constexpr std::size_t kCapacity = 4;

  // Stores a record under a fresh token and returns the token; the activity is counted now.
  // A full store is emptied first.
  std::string insert(Platform& platform, Element element, std::optional<Element> window,
                     TargetMode mode);
  // Removes and returns the record of a token, or nothing when the token is unknown.
  std::optional<CapturedTarget> take(const std::string& token);
  std::size_t size() const { return records_.size(); }
  bool contains(const std::string& token) const { return records_.count(token) != 0; }

 private:
  std::map<std::string, CapturedTarget> records_;
};

}  // namespace textport
