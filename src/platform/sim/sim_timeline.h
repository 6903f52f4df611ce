// Things that happen on the desktop by themselves: the user's actions from the world's
// timeline and the applications' delayed reactions (a copy landing, a paste reading).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/platform.h"
#include "platform/sim/sim_pasteboard.h"

namespace textport::sim {

struct KeyPress {  // a key-down and key-up from the keyboard
  std::uint16_t keyCode = 0;
  std::uint64_t flags = 0;
};
struct Click {  // a button press and release, at a point or where the pointer is
  MouseButton button = MouseButton::left;
  std::optional<Point> at;
};
struct FocusMove {  // the element's application focuses it (and its window)
  std::string element;
};
struct FrontmostSwitch {
  std::optional<Pid> pid;
};
struct WindowSwitch {  // the window's application focuses it
  std::string window;
};
struct SelectionMove {
  std::string element;
  Range range;
};
struct TextEdit {  // new text; the selection given, or the caret at the end
  std::string element;
  std::string value;
  std::optional<Range> range;
};
struct PasteboardChange {  // another program replaces the pasteboard's content
  std::vector<SimItem> items;
};
struct TrustChange {
  bool trusted = true;
};
struct PostPermissionChange {  // the permission to post input events is taken or given
  bool denied = false;
};
struct AppCopyLands {  // the application's copy reaches the pasteboard
  Pid pid = 0;
};
struct AppCopyData {  // the data of a copy that cleared the pasteboard first
  std::string type;
  Bytes data;
};
struct LateAction {  // an action whose request timed out, performed after all
  Element element;
  std::string action;
};
struct AppPasteReads {  // the application reads the pasteboard for Command-V
  Pid pid = 0;
};
struct HoldModifiers {  // the user now holds exactly these modifier keys (event flags)
  std::uint64_t flags = 0;
};
struct ManagerLooks {};  // the clipboard manager looks at a pasteboard that changed hands
struct InputEvent {      // one event of input that is not a press: a release, a move, a scroll
  EventType type = EventType::mouseMoved;
  std::uint16_t keyCode = 0;
  std::optional<Point> at;  // where the pointer goes
};
struct FocusLoss {  // the application's focused element, or its focused window, goes away
  Pid pid = 0;
  bool window = false;
};
struct AppHealth {  // the application hangs or recovers, or answers at another speed
  Pid pid = 0;
  std::optional<bool> hung;
  std::optional<double> latency;
};
struct AttributeFailure {  // reads of one attribute start failing, or (no error) stop
  Pid pid = 0;
  std::optional<std::string> element;  // none: the application element
  std::string attribute;
  std::optional<AXError> error;
};
struct PasteboardRefusal {  // the pasteboard starts or stops refusing textport's writes
  bool refuse = false;
};

using SimAction =
    std::variant<KeyPress, Click, FocusMove, FrontmostSwitch, WindowSwitch, SelectionMove, TextEdit,
                 PasteboardChange, TrustChange, PostPermissionChange, AppCopyLands, AppCopyData,
                 LateAction, AppPasteReads, HoldModifiers, ManagerLooks, InputEvent, FocusLoss,
                 AppHealth, AttributeFailure, PasteboardRefusal>;

struct TimelineEntry {
  std::optional<double> at;                    // fires when virtual time reaches it
  std::optional<std::uint64_t> beforeRequest;  // fires as the N-th request (1-based) starts
  SimAction action;
};

// Pending happenings, each fired exactly once: time-keyed ones in time order (ties in the
// order they were added), request-keyed ones in request order.
class SimTimeline {
 public:
  void add(TimelineEntry entry);
  // The earliest time-keyed action due at or before `time`, removed from the queue.
  std::optional<std::pair<double, SimAction>> takeDue(double time);
  // The earliest time-keyed action at all, removed.
  std::optional<std::pair<double, SimAction>> takeNext();
  // Every request-keyed action for requests up to `request`, in order, removed.
  std::vector<SimAction> takeForRequest(std::uint64_t request);
  bool empty() const { return timed_.empty() && keyed_.empty(); }

 private:
  struct Timed {
    double at;
    SimAction action;
  };
  struct Keyed {
    std::uint64_t request;
    SimAction action;
  };
  std::vector<Timed> timed_;
  std::vector<Keyed> keyed_;
};

}  // namespace textport::sim
