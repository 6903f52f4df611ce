// What happened on the simulated desktop, in order: accessibility requests, timeout settings,
// waits, posted events, pasteboard writes and the timeline's and applications' own doings.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform.h"
#include "platform/sim/sim_events.h"

namespace textport::sim {

// Where the messaging timeout in force for a request came from.
enum class TimeoutSource { element, process, platform };

struct RequestEntry {
  double time = 0;        // virtual time when the request began
  std::string operation;  // "attribute", "parameterized", "set" or "action"
  std::string name;       // attribute or action name
  Pid pid = 0;            // owning process; 0 for the system-wide element
  std::string element;    // node id, "application" or "system-wide"
  double timeout = 0;     // seconds in force
  TimeoutSource timeoutSource = TimeoutSource::platform;
  AXError result = kAXErrorSuccess;
  std::uint64_t order = 0;  // place in the record, across all its lists
};

struct TimeoutEntry {
  double time = 0;
  Pid pid = 0;
  std::string element;  // as in RequestEntry
  float seconds = 0;
  std::uint64_t order = 0;  // place in the record, across all its lists
};

struct WaitEntry {
  double time = 0;  // when the wait began
  double seconds = 0;
  bool runLoop = false;     // a run-loop turn rather than a sleep
  std::uint64_t order = 0;  // place in the record, across all its lists
};

struct PasteboardWriteEntry {
  double time = 0;
  // "textport" (the process under test), "timeline" or "app_copy".
  std::string writer;
  std::string operation;  // "clear", "set", "write"
  std::vector<PasteboardItemReading> itemsAfter;
  std::int64_t changeCount = 0;  // after the write
  std::uint64_t order = 0;       // place in the record, across all its lists
};

// A timeline entry or an application behaviour that took effect.
struct HappeningEntry {
  double time = 0;
  std::string what;  // e.g. "key", "focus", "app_copy", "app_paste"
  std::string detail;
  std::uint64_t order = 0;  // place in the record, across all its lists
};

struct SimRecord {
  // How many entries each list keeps: the newest ones, at least this many and at most twice as
  // many, so a long-running desktop stays within bounded memory. 0 records nothing.
  std::size_t limit = std::numeric_limits<std::size_t>::max();

  std::vector<RequestEntry> requests;
  std::vector<TimeoutEntry> timeouts;
  std::vector<WaitEntry> waits;
  std::vector<PostedEvent> posted;  // posted by the process under test only
  std::vector<PasteboardWriteEntry> pasteboardWrites;
  std::vector<HappeningEntry> happenings;
  std::uint64_t entries = 0;  // added so far, over all lists

  // Whether the lists take entries at all.
  bool recording() const { return limit != 0; }
  // Appends an entry, dropping the oldest half of the list once it holds twice the limit.
  template <class T>
  void add(std::vector<T>& list, T entry) {
    if (limit == 0) return;
    entry.order = ++entries;
    list.push_back(std::move(entry));
    if (list.size() / 2 >= limit) {
      list.erase(list.begin(), list.end() - static_cast<std::ptrdiff_t>(limit));
    }
  }

  // Pasteboard writes made by one writer.
  std::size_t writesBy(std::string_view writer) const;
  // Requests whose timeout in force was the platform's 6 s default (nobody set one).
  std::size_t requestsOnPlatformDefault() const;
  // Requests with this operation and name ("attribute", "AXFocusedUIElement").
  std::size_t count(std::string_view operation, std::string_view name) const;
};

std::string_view toString(TimeoutSource source);

}  // namespace textport::sim
