// The simulated desktop: a deterministic backend of the platform seam. Time is virtual (every
// sleep, run-loop turn, request latency and messaging timeout moves it, nothing real waits),
// applications are data loaded from a world file, and everything done is recorded.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform.h"
#include "platform/sim/sim_clock.h"
#include "platform/sim/sim_events.h"
#include "platform/sim/sim_objects.h"
#include "platform/sim/sim_pasteboard.h"
#include "platform/sim/sim_record.h"
#include "platform/sim/sim_timeline.h"
#include "platform/sim/sim_world.h"

namespace textport::sim {

// The messaging timeout in force when neither the element nor the process has one.
inline constexpr double kPlatformDefaultTimeout = 6.0;

class SimDesktop;

// A loaded desktop, or why the world file could not be loaded:
// "<source>: <path inside the file>: <what is wrong>".
struct SimLoad {
  std::unique_ptr<SimDesktop> desktop;
  std::string error;
  explicit operator bool() const { return desktop != nullptr; }
};

class SimDesktop : public Platform {
 public:
  // An empty desktop: trusted, no applications, none frontmost, empty pasteboard, counters 0.
  SimDesktop();
  // Loads a world from JSON text; the source name (a file name) prefixes every error message.
  static SimLoad fromJson(std::string_view text, std::string_view sourceName);

  // --- Test API: reading the desktop without making a request or changing anything ---
  double time() const { return clock_.now(); }  // virtual seconds since the start
  const SimRecord& record() const { return record_; }
  // Bounds the record (see SimRecord::limit); unbounded by default, as tests read all of it.
  void setRecordLimit(std::size_t limit) { record_.limit = limit; }
  // Bytes of pasteboard data handed out by reads and taken in by writes, since the start.
  struct PasteboardTraffic {
    std::uint64_t bytesRead = 0;
    std::uint64_t bytesWritten = 0;
  };
  PasteboardTraffic pasteboardTraffic() const { return traffic_; }
  const std::vector<SimItem>& pasteboardContents() const { return pasteboard_.items(); }
  std::int64_t changeCount() const { return pasteboard_.changeCount(); }
  // A text field's value and selection (UTF-16 range), by element id.
  std::optional<std::string> fieldValue(std::string_view id) const;
  std::optional<Range> fieldSelection(std::string_view id) const;
  // The id of the element an application has focused, if any.
  std::optional<std::string> focusedId(Pid pid) const;
  std::uint32_t counter(EventType type) const { return input_.counter(type); }
  const std::vector<PostedEvent>& postedEvents() const { return record_.posted; }
  std::optional<Pid> frontmostPid() const { return frontmost_; }
  // The number of requests started and ended so far (requestStarted, requestEnded calls).
  std::uint64_t requestsStarted() const { return requestsStarted_; }
  std::uint64_t requestsEnded() const { return requestsEnded_; }

  // --- Test API: changing the desktop ---
  // Adds one timeline entry given as world-file JSON (an object such as
  // {"at": 1.5, "focus": "body"}); without "at" or "before_request" it happens now.
  // Nothing on success, else the error message.
  std::optional<std::string> schedule(std::string_view entryJson);
  // Fires everything still pending (request-keyed entries first, then time-keyed ones in time
  // order, moving the clock to each), as if the user went on until nothing was left.
  void drainTimeline();
  // The final state as JSON text: time, pasteboard (types with text or base64 bytes), text
  // fields (value and selection), posted events, counters, pointer and frontmost process.
  std::string stateJson() const;
  // The world's parts, for the loader and for tests that build a desktop by hand.
  SimWorld& world() { return world_; }
  SimPasteboard& pasteboard() { return pasteboard_; }
  SimInput& input() { return input_; }
  void setTrusted(bool trusted) { trusted_ = trusted; }
  void setFrontmost(std::optional<Pid> pid) { frontmost_ = pid; }

  // --- Platform ---
  bool isProcessTrusted() override { return trusted_; }
  Element createApplicationElement(Pid pid) override;
  Element createSystemWideElement() override;
  AXError setMessagingTimeout(const Element& element, float seconds) override;
  AXResult copyAttributeValue(const Element& element, const std::string& attribute) override;
  AXResult copyParameterizedAttributeValue(const Element& element, const std::string& attribute,
                                           const Value& parameter) override;
  AXError setAttributeValue(const Element& element, const std::string& attribute,
                            const Value& value) override;
  AXError performAction(const Element& element, const std::string& action) override;
  std::optional<Pid> pidOfElement(const Element& element) override;

  std::optional<RunningApp> frontmostApplication() override;
  std::optional<RunningApp> runningApplication(Pid pid) override;

  std::vector<PasteboardItemReading> pasteboardItems() override;
  std::int64_t pasteboardChangeCount() override { return pasteboard_.changeCount(); }
  std::int64_t clearPasteboard() override;
  bool setPasteboardString(const std::string& text, const std::string& type) override;
  bool setPasteboardData(const Bytes& data, const std::string& type) override;
  std::optional<std::string> pasteboardString(const std::string& type) override;
  std::optional<Bytes> pasteboardData(const std::string& type) override;
  bool writePasteboardItems(const std::vector<PasteboardItem>& items) override;

  std::uint32_t eventCounter(EventType type) override { return input_.counter(type); }
  EventSource createEventSource() override;
  Event createKeyboardEvent(const EventSource& source, std::uint16_t keyCode,
                            bool keyDown) override;
  Event createMouseEvent(const EventSource& source, EventType type, Point location,
                         MouseButton button) override;
  std::optional<Point> pointerLocation() override;
  void setEventType(const Event& event, EventType type) override;
  void setEventFlags(const Event& event, std::uint64_t flags) override;
  void postEvent(const Event& event) override;
  bool postPasteShortcut() override;
  bool mayPostEvents() override { return !input_.failures().postDenied; }

  double now() override { return clock_.now(); }
  void sleep(double seconds) override;
  void runLoop(double seconds) override;

  std::string newUuid() override;

  void requestStarted() override;
  void requestEnded() override { ++requestsEnded_; }

  // Loader access to the timeline (world files) and the system-wide element's set-up.
  SimTimeline& timeline() { return timeline_; }

 private:
  // One accessibility request: who it is on, and whether it got through.
  struct Request {
    SimElement* element = nullptr;
    AXError admitted = kAXErrorSuccess;  // not success: the request failed with this
    std::size_t recordIndex = 0;
    bool recorded = false;  // whether the record kept an entry for it (at recordIndex)
    double lateBy = 0;      // timed out this long before the application would have answered
  };
  Request beginRequest(const Element& element, const char* operation, const std::string& name);
  void finishRequest(const Request& request, AXError result);
  double latencyOf(const SimElement& element) const;
  bool hungFor(const SimElement& element) const;

  // Attribute reads, writes and actions once a request got through (sim_attributes.cpp).
  AXResult readAttribute(const SimElement& element, const std::string& name);
  AXResult readApplicationAttribute(const SimApp& app, const std::string& name);
  AXResult readSystemAttribute(const std::string& name);
  AXResult readNodeAttribute(const SimNode& node, const std::string& name);
  AXResult readParameterized(const SimElement& element, const std::string& name,
                             const Value& parameter);
  AXError writeAttribute(const SimElement& element, const std::string& name, const Value& value);
  AXError act(const SimElement& element, const std::string& action);
  // A stored value with every element reference turned into a fresh handle.
  Value fresh(const Value& stored) const;
  Element nodeElement(const std::string& id) const;
  std::optional<std::string> visibleFocus(const SimApp& app) const;

  // Time and happenings (sim_desktop.cpp, sim_actions.cpp).
  void advance(double seconds);
  void fireDue();
  void fire(const SimAction& action);
  void press(PostedEvent event, bool byUser);
  void landCopy(Pid pid);
  void readPaste(Pid pid);
  void recordWrite(const std::string& writer, const std::string& operation);
  void happened(std::string what, std::string detail);
  std::optional<std::string> selectedTextOf(const SimNode& node) const;
  void insertText(SimNode& node, const std::string& text);

  SimWorld world_;
  SimClock clock_;
  SimPasteboard pasteboard_;
  SimInput input_;
  SimTimeline timeline_;
  SimRecord record_;
  bool trusted_ = true;
  std::optional<Pid> frontmost_;
  std::optional<float> processTimeout_;  // set through the system-wide element
  std::uint64_t uuids_ = 0;
  std::uint64_t requestsStarted_ = 0;
  std::uint64_t requestsEnded_ = 0;
  PasteboardTraffic traffic_;
};

}  // namespace textport::sim
