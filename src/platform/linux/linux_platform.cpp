#include "platform/linux/linux_platform.h"

#include <time.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <random>

#include "platform/host_platform.h"
#include "platform/linux/x11_clipboard_wait.h"

namespace textport {

std::unique_ptr<Platform> makeHostPlatform() {
  return std::make_unique<x11::LinuxPlatform>();
}

namespace x11 {

namespace {

// A synthesised event, kept as data until it is posted.
struct InputEvent final : PlatformObject {
  bool keyboard = false;
  std::uint16_t keyCode = 0;
  bool keyDown = false;
  EventType type = EventType::keyDown;
  Point location;
  MouseButton button = MouseButton::left;
  std::uint64_t flags = 0;
  bool equals(const PlatformObject& other) const override { return this == &other; }
};

struct Source final : PlatformObject {
  bool equals(const PlatformObject& other) const override { return this == &other; }
};

InputEvent* inputEvent(const Event& event) {
  return dynamic_cast<InputEvent*>(event.get());
}

}  // namespace

LinuxPlatform::LinuxPlatform()
    : desktop_(X11Desktop::connect()), clipboard_(X11Clipboard::connect()) {
  X11Desktop* desktop = desktop_.get();
  WindowSystem windowSystem;
  windowSystem.frontmostPid = [desktop]() -> std::optional<Pid> {
    return desktop != nullptr ? desktop->focusedPid() : std::nullopt;
  };
  windowSystem.windowNumber = [desktop](Pid pid, const std::string& title) -> std::int64_t {
    return desktop != nullptr ? desktop->windowNumber(pid, title) : 0;
  };
  // Without a display there is no desktop to be accessible.
  if (desktop_) accessibility_ = AtspiAccessibility::connect(std::move(windowSystem));
}

LinuxPlatform::~LinuxPlatform() = default;

// --- Accessibility ---

bool LinuxPlatform::isProcessTrusted() {
  return accessibility_ && accessibility_->available();
}

Element LinuxPlatform::createApplicationElement(Pid pid) {
  return accessibility_ ? accessibility_->applicationElement(pid) : Element{};
}

Element LinuxPlatform::createSystemWideElement() {
  return accessibility_ ? accessibility_->systemWideElement() : Element{};
}

AXError LinuxPlatform::setMessagingTimeout(const Element& element, float seconds) {
  if (!element) return kAXErrorIllegalArgument;
  return accessibility_ ? accessibility_->setMessagingTimeout(element, seconds)
                        : kAXErrorAPIDisabled;
}

AXResult LinuxPlatform::copyAttributeValue(const Element& element, const std::string& attribute) {
  if (!element) return AXResult{kAXErrorIllegalArgument, {}};
  if (!accessibility_) return AXResult{kAXErrorAPIDisabled, {}};
  return accessibility_->copyAttributeValue(element, attribute);
}

AXResult LinuxPlatform::copyParameterizedAttributeValue(const Element& element,
                                                        const std::string& attribute,
                                                        const Value& parameter) {
  if (!element) return AXResult{kAXErrorIllegalArgument, {}};
  if (!accessibility_) return AXResult{kAXErrorAPIDisabled, {}};
  return accessibility_->copyParameterizedAttributeValue(element, attribute, parameter);
}

AXError LinuxPlatform::setAttributeValue(const Element& element, const std::string& attribute,
                                         const Value& value) {
  if (!element) return kAXErrorIllegalArgument;
  if (!accessibility_) return kAXErrorAPIDisabled;
  return accessibility_->setAttributeValue(element, attribute, value);
}

AXError LinuxPlatform::performAction(const Element& element, const std::string& action) {
  if (!element) return kAXErrorIllegalArgument;
  if (!accessibility_) return kAXErrorAPIDisabled;
  return accessibility_->performAction(element, action);
}

std::optional<Pid> LinuxPlatform::pidOfElement(const Element& element) {
  if (!element || !accessibility_) return std::nullopt;
  return accessibility_->pidOfElement(element);
}

// --- Workspace ---

std::optional<RunningApp> LinuxPlatform::frontmostApplication() {
  if (!desktop_) return std::nullopt;
  const std::optional<Pid> pid = desktop_->focusedPid();
  if (!pid) return std::nullopt;
  return desktop_->runningApplication(*pid);
}

std::optional<RunningApp> LinuxPlatform::runningApplication(Pid pid) {
  return desktop_ ? desktop_->runningApplication(pid) : std::nullopt;
}

// --- Pasteboard ---

std::vector<PasteboardItemReading> LinuxPlatform::pasteboardItems() {
  return clipboard_ ? clipboard_->items() : std::vector<PasteboardItemReading>{};
}

std::int64_t LinuxPlatform::pasteboardChangeCount() {
  return clipboard_ ? clipboard_->changeCount() : 0;
}

std::int64_t LinuxPlatform::clearPasteboard() {
  return clipboard_ ? clipboard_->clear() : 0;
}

bool LinuxPlatform::setPasteboardString(const std::string& text, const std::string& type) {
  return setPasteboardData(Bytes(text.begin(), text.end()), type);
}

bool LinuxPlatform::setPasteboardData(const Bytes& data, const std::string& type) {
  return clipboard_ && clipboard_->setData(type, data);
}

bool LinuxPlatform::setWatchedPasteboardString(const std::string& text) {
  return setPasteboardString(text, kPlainTextType) && clipboard_->watchServed();
}

std::uint64_t LinuxPlatform::watchedTextReads() {
  return clipboard_ ? clipboard_->watchedReads() : 0;
}

bool LinuxPlatform::markPasteboardTransient() {
  const Bytes secret = {'s', 'e', 'c', 'r', 'e', 't'};
  return setPasteboardData(secret, kPasswordManagerHint);
}

std::optional<std::string> LinuxPlatform::pasteboardString(const std::string& type) {
  std::optional<Bytes> data = pasteboardData(type);
  if (!data) return std::nullopt;
  return std::string(data->begin(), data->end());
}

std::optional<Bytes> LinuxPlatform::pasteboardData(const std::string& type) {
  return clipboard_ ? clipboard_->data(type) : std::nullopt;
}

bool LinuxPlatform::writePasteboardItems(const std::vector<PasteboardItem>& items) {
  return clipboard_ && clipboard_->writeItems(items);
}

// --- Input events ---

std::uint32_t LinuxPlatform::eventCounter(EventType type) {
  return desktop_ ? desktop_->pressCount(type) : 0;
}

EventSource LinuxPlatform::createEventSource() {
  if (!desktop_ || !desktop_->canSynthesise()) return EventSource{};
  return EventSource{std::make_shared<Source>()};
}

Event LinuxPlatform::createKeyboardEvent(const EventSource& /*source*/, std::uint16_t keyCode,
                                         bool keyDown) {
  if (!desktop_ || !desktop_->canSynthesise()) return Event{};
  auto event = std::make_shared<InputEvent>();
  event->keyboard = true;
  event->keyCode = keyCode;
  event->keyDown = keyDown;
  event->type = keyDown ? EventType::keyDown : EventType::keyUp;
  return Event{std::move(event)};
}

Event LinuxPlatform::createMouseEvent(const EventSource& /*source*/, EventType type, Point location,
                                      MouseButton button) {
  if (!desktop_ || !desktop_->canSynthesise()) return Event{};
  auto event = std::make_shared<InputEvent>();
  event->type = type;
  event->location = location;
  event->button = button;
  return Event{std::move(event)};
}

std::optional<Point> LinuxPlatform::pointerLocation() {
  return desktop_ ? desktop_->pointerLocation() : std::nullopt;
}

void LinuxPlatform::setEventType(const Event& event, EventType type) {
  if (InputEvent* input = inputEvent(event)) input->type = type;
}

void LinuxPlatform::setEventFlags(const Event& event, std::uint64_t flags) {
  if (InputEvent* input = inputEvent(event)) input->flags = flags;
}

void LinuxPlatform::postEvent(const Event& event) {
  InputEvent* input = inputEvent(event);
  if (input == nullptr || !desktop_) return;
  if (!input->keyboard) {
    desktop_->postPointer(input->type, input->location, input->button);
    return;
  }
  // A modifier-state change alone (macOS's flagsChanged) has no key of its own to post here.
  if (input->type == EventType::flagsChanged) return;
  const bool down = input->type == EventType::keyDown;
  constexpr std::uint16_t kControlKey = 55;  // Command's place on X11
  const bool command = (input->flags & kEventFlagMaskCommand) != 0;
  if (command && down) desktop_->postKey(kControlKey, true);
  desktop_->postKey(input->keyCode, down);
  if (command && !down) desktop_->postKey(kControlKey, false);
}

bool LinuxPlatform::postPasteShortcut() {
  if (!desktop_) return false;
  const std::optional<Pid> front = desktop_->focusedPid();
  const bool terminal = front && accessibility_ && accessibility_->focusedElementIsTerminal(*front);
  return desktop_->postPaste(terminal);
}

bool LinuxPlatform::mayPostEvents() {
  return desktop_ && desktop_->canSynthesise();
}

// --- Time and identity ---

double LinuxPlatform::now() {
  return monotonicNow();
}

void LinuxPlatform::sleep(double seconds) {
  if (!(seconds > 0)) return;
  double whole = 0;
  const double fraction = std::modf(seconds, &whole);
  timespec remaining{static_cast<time_t>(whole), static_cast<long>(fraction * 1e9)};
  // The clipboard is served by its own process, so a plain sleep keeps nothing waiting.
  while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
  }
}

void LinuxPlatform::runLoop(double seconds) {
  sleep(seconds);
}

std::string LinuxPlatform::newUuid() {
  std::random_device device;
  std::array<std::uint8_t, 16> bytes{};
  for (std::size_t i = 0; i < bytes.size(); i += 4) {
    const std::uint32_t word = device();
    for (std::size_t j = 0; j < 4; ++j) bytes[i + j] = static_cast<std::uint8_t>(word >> (8 * j));
  }
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
  std::string text;
  char hex[3];
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    std::snprintf(hex, sizeof hex, "%02X", bytes[i]);
    text += hex;
  }
  return text;
}

}  // namespace x11
}  // namespace textport
