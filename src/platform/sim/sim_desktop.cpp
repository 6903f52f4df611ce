#include "platform/sim/sim_desktop.h"

#include <cstdio>
#include <limits>

#include "platform/sim/sim_text.h"

namespace textport::sim {

SimDesktop::SimDesktop() = default;

// --- Time ---

void SimDesktop::advance(double seconds) {
  const double end = clock_.now() + (seconds > 0 ? seconds : 0);
  // Happenings due inside the interval fire at their own time, in order, so that a copy
  // landing 0.05 s into a 0.35 s sleep is seen at 0.05 s.
  while (auto due = timeline_.takeDue(end)) {
    clock_.advanceTo(due->first);
    fire(due->second);
  }
  clock_.advanceTo(end);
}

void SimDesktop::fireDue() {
  advance(0);
}

void SimDesktop::sleep(double seconds) {
  record_.add(record_.waits, WaitEntry{clock_.now(), seconds, false});
  advance(seconds);
}

void SimDesktop::runLoop(double seconds) {
  record_.add(record_.waits, WaitEntry{clock_.now(), seconds, true});
  advance(seconds);
}

void SimDesktop::drainTimeline() {
  for (auto& action : timeline_.takeForRequest(std::numeric_limits<std::uint64_t>::max())) {
    fire(action);
  }
  while (auto next = timeline_.takeNext()) {
    clock_.advanceTo(next->first);
    fire(next->second);
  }
}

void SimDesktop::requestStarted() {
  ++requestsStarted_;
  for (auto& action : timeline_.takeForRequest(requestsStarted_)) fire(action);
  fireDue();
}

std::string SimDesktop::newUuid() {
  // Counter-based so that scenario files can name the tokens they expect.
  char text[40];
  std::snprintf(text, sizeof text, "00000000-0000-4000-8000-%012llX",
                static_cast<unsigned long long>(++uuids_));
  return text;
}

// --- Workspace ---

std::optional<RunningApp> SimDesktop::runningApplication(Pid pid) {
  const SimApp* app = world_.app(pid);
  if (!app) return std::nullopt;
  return RunningApp{app->pid, app->bundle, app->name};
}

std::optional<RunningApp> SimDesktop::frontmostApplication() {
  if (!frontmost_) return std::nullopt;
  return runningApplication(*frontmost_);
}

// --- Pasteboard ---

std::vector<PasteboardItemReading> SimDesktop::pasteboardItems() {
  traffic_.bytesRead += pasteboard_.size();
  return pasteboard_.items();
}

std::int64_t SimDesktop::clearPasteboard() {
  pasteboard_.clear();
  recordWrite("textport", "clear");
  return pasteboard_.changeCount();
}

bool SimDesktop::setPasteboardString(const std::string& text, const std::string& type) {
  return setPasteboardData(toBytes(text), type);
}

bool SimDesktop::setPasteboardData(const Bytes& data, const std::string& type) {
  traffic_.bytesWritten += data.size();
  pasteboard_.setData(type, data);
  recordWrite("textport", "set");
  return true;
}

std::optional<std::string> SimDesktop::pasteboardString(const std::string& type) {
  auto data = pasteboard_.data(type);
  if (!data) return std::nullopt;
  traffic_.bytesRead += data->size();
  return toString(*data);
}

std::optional<Bytes> SimDesktop::pasteboardData(const std::string& type) {
  auto data = pasteboard_.data(type);
  if (data) traffic_.bytesRead += data->size();
  return data;
}

bool SimDesktop::writePasteboardItems(const std::vector<PasteboardItem>& items) {
  std::vector<SimItem> written;
  for (const auto& item : items) {
    SimItem& out = written.emplace_back();
    for (const auto& [type, data] : item) {
      traffic_.bytesWritten += data.size();
      out.push_back({type, data});
    }
  }
  pasteboard_.write(std::move(written));
  recordWrite("textport", "write");
  return true;
}

void SimDesktop::recordWrite(const std::string& writer, const std::string& operation) {
  if (!record_.recording()) return;
  record_.add(record_.pasteboardWrites,
              PasteboardWriteEntry{clock_.now(), writer, operation, pasteboard_.items(),
                                   pasteboard_.changeCount()});
}

// --- Input events ---

EventSource SimDesktop::createEventSource() {
  if (input_.failures().source) return {};
  return EventSource(std::make_shared<SimEventSource>());
}

Event SimDesktop::createKeyboardEvent(const EventSource&, std::uint16_t keyCode, bool keyDown) {
  if (!input_.makeKeyboardEvent()) return {};
  auto event = std::make_shared<SimEvent>();
  event->event.keyboard = true;
  event->event.keyCode = keyCode;
  event->event.type = keyDown ? EventType::keyDown : EventType::keyUp;
  event->event.location = input_.pointer();
  return Event(event);
}

Event SimDesktop::createMouseEvent(const EventSource&, EventType type, Point location,
                                   MouseButton button) {
  if (input_.failures().mouse) return {};
  auto event = std::make_shared<SimEvent>();
  event->event.type = type;
  event->event.location = location;
  event->event.button = button;
  return Event(event);
}

std::optional<Point> SimDesktop::pointerLocation() {
  if (input_.failures().pointer) return std::nullopt;
  return input_.pointer();
}

void SimDesktop::setEventType(const Event& event, EventType type) {
  if (SimEvent* e = simEvent(event)) e->event.type = type;
}

void SimDesktop::setEventFlags(const Event& event, std::uint64_t flags) {
  if (SimEvent* e = simEvent(event)) e->event.flags = flags;
}

void SimDesktop::postEvent(const Event& event) {
  const SimEvent* e = simEvent(event);
  // Without the permission the system drops the event and says nothing.
  if (!e || input_.failures().postDenied) return;
  PostedEvent posted = e->event;
  posted.time = clock_.now();
  press(posted, false);
  fireDue();  // an application that reacts without delay has done so when the post returns
}

// Made from the raw operations, so the simulated failures of event creation apply to it too.
bool SimDesktop::postPasteShortcut() {
  const EventSource source = createEventSource();
  const Event down = createKeyboardEvent(source, kKeyCodeV, true);
  const Event up = down ? createKeyboardEvent(source, kKeyCodeV, false) : Event{};
  if (!down || !up) return false;
  // Replacing the whole flag word drops any modifier the user happens to hold.
  setEventFlags(down, kEventFlagMaskCommand);
  setEventFlags(up, kEventFlagMaskCommand);
  postEvent(down);
  postEvent(up);
  return true;
}

// --- Reading the desktop ---

std::optional<std::string> SimDesktop::fieldValue(std::string_view id) const {
  const SimNode* node = world_.node(std::string(id));
  return node ? node->value : std::nullopt;
}

std::optional<Range> SimDesktop::fieldSelection(std::string_view id) const {
  const SimNode* node = world_.node(std::string(id));
  return node ? node->selectedRange : std::nullopt;
}

std::optional<std::string> SimDesktop::focusedId(Pid pid) const {
  const SimApp* app = world_.app(pid);
  return app ? app->focused : std::nullopt;
}

}  // namespace textport::sim
