// The one door to the desktop: value types and the narrow interface that every backend
// (the real macOS desktop, the simulated desktop) implements. Standard headers only.
//
// Most operations mirror one platform call, in macOS's vocabulary (attribute names, roles, error
// codes, UTF-16 ranges); a backend for another desktop translates into it. Where desktops differ
// in how an intent is carried out (the paste keystroke), the operation names the intent.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace textport {

using Pid = std::int32_t;
using Bytes = std::vector<std::uint8_t>;

// Accessibility error codes, with the platform's numeric values (AXError).
using AXError = std::int32_t;
inline constexpr AXError kAXErrorSuccess = 0;
inline constexpr AXError kAXErrorFailure = -25200;
inline constexpr AXError kAXErrorIllegalArgument = -25201;
inline constexpr AXError kAXErrorInvalidUIElement = -25202;
inline constexpr AXError kAXErrorCannotComplete = -25204;  // also what a messaging timeout gives
inline constexpr AXError kAXErrorAttributeUnsupported = -25205;
inline constexpr AXError kAXErrorActionUnsupported = -25206;
inline constexpr AXError kAXErrorNotImplemented = -25208;
inline constexpr AXError kAXErrorAPIDisabled = -25211;
inline constexpr AXError kAXErrorNoValue = -25212;
inline constexpr AXError kAXErrorParameterizedAttributeUnsupported = -25213;

// The plain-text pasteboard type (NSPasteboardTypeString).
inline constexpr const char* kPlainTextType = "public.utf8-plain-text";

// A platform object the core holds but never looks into. Backends subclass it.
class PlatformObject {
 public:
  virtual ~PlatformObject() = default;
  // Identity as the platform sees it (CFEqual for accessibility elements).
  virtual bool equals(const PlatformObject& other) const = 0;
};

// A reference-counted handle on a platform object; copies share the object.
template <class Tag>
class Handle {
 public:
  Handle() = default;
  explicit Handle(std::shared_ptr<PlatformObject> object) : object_(std::move(object)) {}
  PlatformObject* get() const { return object_.get(); }
  explicit operator bool() const { return object_ != nullptr; }
  friend bool operator==(const Handle& a, const Handle& b) {
    if (!a.object_ || !b.object_) return !a.object_ && !b.object_;
    return a.object_ == b.object_ || a.object_->equals(*b.object_);
  }

 private:
  std::shared_ptr<PlatformObject> object_;
};

struct ElementTag;
struct OpaqueTag;
struct EventTag;
struct EventSourceTag;
using Element = Handle<ElementTag>;          // an accessibility element (AXUIElementRef)
using Opaque = Handle<OpaqueTag>;            // an opaque attribute value, e.g. a text-marker range
using Event = Handle<EventTag>;              // a synthesised input event (CGEventRef)
using EventSource = Handle<EventSourceTag>;  // an event source (CGEventSourceRef)

struct Point {
  double x = 0;
  double y = 0;
  friend bool operator==(const Point&, const Point&) = default;
};
struct Size {
  double width = 0;
  double height = 0;
  friend bool operator==(const Size&, const Size&) = default;
};
struct Rect {
  Point origin;
  Size size;
  friend bool operator==(const Rect&, const Rect&) = default;
};
struct Range {  // CFRange: location and length in UTF-16 code units
  std::int64_t location = 0;
  std::int64_t length = 0;
  friend bool operator==(const Range&, const Range&) = default;
};
struct AttributedString {  // only the plain characters cross the seam
  std::string text;
  friend bool operator==(const AttributedString&, const AttributedString&) = default;
};

// An accessibility attribute value. Point, Size, Rect and Range are the AXValue kinds.
struct Value;
using ValueList = std::vector<Value>;
struct Value {
  using Storage = std::variant<std::monostate, bool, std::int64_t, double, std::string, Element,
                               ValueList, Point, Size, Rect, Range, AttributedString, Opaque>;
  Storage data;

  Value() = default;
  template <class T>
  Value(T v) : data(std::move(v)) {}  // NOLINT: implicit by design
  Value(const char* s) : data(std::string(s)) {}

  bool isNothing() const { return std::holds_alternative<std::monostate>(data); }
  template <class T>
  const T* as() const {
    return std::get_if<T>(&data);
  }
  bool isAXValue() const { return as<Point>() || as<Size>() || as<Rect>() || as<Range>(); }
};

// The outcome of one accessibility request: an error code and, on success, a value
// (which may itself be nothing).
struct AXResult {
  AXError error = kAXErrorFailure;
  Value value;
  bool ok() const { return error == kAXErrorSuccess; }
};

struct RunningApp {
  Pid pid = 0;
  std::optional<std::string> bundleIdentifier;
  std::optional<std::string> localizedName;
};

// One pasteboard item as read: each type of its type list in order, with its data when the
// item gives any for that type.
struct PasteboardRepresentation {
  std::string type;
  std::optional<Bytes> data;
  friend bool operator==(const PasteboardRepresentation&,
                         const PasteboardRepresentation&) = default;
};
using PasteboardItemReading = std::vector<PasteboardRepresentation>;

// One pasteboard item to write: (type, bytes) pairs in order.
using PasteboardItem = std::vector<std::pair<std::string, Bytes>>;

// Quartz event types, with the platform's numeric values (CGEventType).
enum class EventType : std::uint32_t {
  leftMouseDown = 1,
  leftMouseUp = 2,
  rightMouseDown = 3,
  mouseMoved = 5,
  leftMouseDragged = 6,
  keyDown = 10,
  keyUp = 11,
  flagsChanged = 12,
  scrollWheel = 22,
  otherMouseDown = 25,
};
enum class MouseButton : std::uint32_t { left = 0, right = 1, center = 2 };

inline constexpr std::uint64_t kEventFlagMaskCommand = 0x100000;
inline constexpr std::uint64_t kEventFlagMaskSecondaryFn = 0x800000;

// The desktop as the core sees it. One call is one platform operation; every wait in the
// system goes through now/sleep/runLoop so that a simulated desktop can own time.
class Platform {
 public:
  virtual ~Platform() = default;

  // --- Accessibility (ApplicationServices) ---
  // Whether this process is trusted for accessibility, without prompting (AXIsProcessTrusted).
  virtual bool isProcessTrusted() = 0;
  // A new element for the application with this process identifier (AXUIElementCreateApplication).
  virtual Element createApplicationElement(Pid pid) = 0;
  // A new element for the system-wide object (AXUIElementCreateSystemWide).
  virtual Element createSystemWideElement() = 0;
  // Bounds every later request on this element; on the system-wide element it sets the
  // process-wide default for elements that have none (AXUIElementSetMessagingTimeout).
  virtual AXError setMessagingTimeout(const Element& element, float seconds) = 0;
  // Reads one attribute (AXUIElementCopyAttributeValue).
  virtual AXResult copyAttributeValue(const Element& element, const std::string& attribute) = 0;
  // Reads one parameterised attribute (AXUIElementCopyParameterizedAttributeValue).
  virtual AXResult copyParameterizedAttributeValue(const Element& element,
                                                   const std::string& attribute,
                                                   const Value& parameter) = 0;
  // Writes one attribute (AXUIElementSetAttributeValue).
  virtual AXError setAttributeValue(const Element& element, const std::string& attribute,
                                    const Value& value) = 0;
  // Performs an action such as "AXPress" (AXUIElementPerformAction).
  virtual AXError performAction(const Element& element, const std::string& action) = 0;
  // The process that owns the element, or nothing on error (AXUIElementGetPid).
  virtual std::optional<Pid> pidOfElement(const Element& element) = 0;

  // --- Workspace (AppKit) ---
  // The application the workspace calls frontmost (NSWorkspace frontmostApplication).
  virtual std::optional<RunningApp> frontmostApplication() = 0;
  // The running application with this process identifier
  // (runningApplicationWithProcessIdentifier:).
  virtual std::optional<RunningApp> runningApplication(Pid pid) = 0;

  // --- The general pasteboard (NSPasteboard) ---
  // Every item with its types and their data; empty when the pasteboard lists no items.
  virtual std::vector<PasteboardItemReading> pasteboardItems() = 0;
  // Rises whenever anyone takes the pasteboard over by clearing it; the writes that follow a
  // clear need not raise it again, and reading never does (changeCount).
  virtual std::int64_t pasteboardChangeCount() = 0;
  // Empties the pasteboard and returns the new change count (clearContents).
  virtual std::int64_t clearPasteboard() = 0;
  // Writes text under a type on the first item, creating it if needed (setString:forType:).
  virtual bool setPasteboardString(const std::string& text, const std::string& type) = 0;
  // Writes bytes under a type on the first item, creating it if needed (setData:forType:).
  virtual bool setPasteboardData(const Bytes& data, const std::string& type) = 0;
  // The text of the first item that lists the type, or nothing (stringForType:).
  virtual std::optional<std::string> pasteboardString(const std::string& type) = 0;
  // The data of the first item that lists the type, or nothing (dataForType:).
  virtual std::optional<Bytes> pasteboardData(const std::string& type) = 0;
  // Adds new items, each built from its pairs in order, in one write (writeObjects:).
  virtual bool writePasteboardItems(const std::vector<PasteboardItem>& items) = 0;
  // Writes text as the plain text of the first item so that its reads can be counted, creating
  // the item if needed (macOS: a data provider gives the text when asked; X11: the selection
  // owner answers each request). Otherwise like setPasteboardString with the plain-text type.
  virtual bool setWatchedPasteboardString(const std::string& text) = 0;
  // How often anyone has read the text of the last setWatchedPasteboardString; the count stays
  // once the pasteboard is cleared. Reading it turns nothing: the caller turns the run loop.
  virtual std::uint64_t watchedTextReads() = 0;
  // Marks the first item as content that clipboard managers leave out of their history
  // (macOS: the nspasteboard.org transient and auto-generated types; X11: the password-manager
  // hint that KDE-style managers honour).
  virtual bool markPasteboardTransient() = 0;

  // --- Input events (Quartz event services) ---
  // Events of one type seen by the combined session state (CGEventSourceCounterForEventType).
  virtual std::uint32_t eventCounter(EventType type) = 0;
  // An event source with the combined session state (CGEventSourceCreate), or nothing.
  virtual EventSource createEventSource() = 0;
  // A keyboard event, or nothing when the platform cannot make one (CGEventCreateKeyboardEvent).
  virtual Event createKeyboardEvent(const EventSource& source, std::uint16_t keyCode,
                                    bool keyDown) = 0;
  // A mouse event, or nothing when the platform cannot make one (CGEventCreateMouseEvent).
  virtual Event createMouseEvent(const EventSource& source, EventType type, Point location,
                                 MouseButton button) = 0;
  // The pointer's current location, or nothing when no event could be made
  // (CGEventCreate with no source, CGEventGetLocation).
  virtual std::optional<Point> pointerLocation() = 0;
  // Changes an event's type (CGEventSetType).
  virtual void setEventType(const Event& event, EventType type) = 0;
  // Replaces an event's whole flag word (CGEventSetFlags).
  virtual void setEventFlags(const Event& event, std::uint64_t flags) = 0;
  // Posts an event at the HID tap (CGEventPost with kCGHIDEventTap).
  virtual void postEvent(const Event& event) = 0;
  // Posts the paste shortcut to the focused application, with no other modifier whatever the
  // user holds (macOS: Command + V as a key-down and a key-up). False, and nothing posted, when
  // its events could not be made.
  virtual bool postPasteShortcut() = 0;
  // Whether events this process posts reach the system (CGPreflightPostEventAccess); without
  // this permission posting fails silently, so it is asked before anything is posted.
  virtual bool mayPostEvents() = 0;

  // --- Time ---
  // Seconds on a monotonic clock.
  virtual double now() = 0;
  // Blocks the thread (NSThread sleepForTimeInterval:).
  virtual void sleep(double seconds) = 0;
  // Runs the current run loop until that many seconds from now (NSRunLoop runUntilDate:).
  virtual void runLoop(double seconds) = 0;

  // --- Identity ---
  // A fresh random UUID in upper-case 8-4-4-4-12 form (UUID().uuidString).
  virtual std::string newUuid() = 0;

  // --- Request scope ---
  // Called around each request; temporary platform objects live until requestEnded
  // (an autorelease pool on macOS). Opened and closed through RequestScope.
  virtual void requestStarted() = 0;
  virtual void requestEnded() = 0;
};

// One request's platform scope: opened on construction, closed on every way out.
class RequestScope {
 public:
  explicit RequestScope(Platform& platform) : platform_(platform) { platform_.requestStarted(); }
  ~RequestScope() { platform_.requestEnded(); }
  RequestScope(const RequestScope&) = delete;
  RequestScope& operator=(const RequestScope&) = delete;

 private:
  Platform& platform_;
};

}  // namespace textport
