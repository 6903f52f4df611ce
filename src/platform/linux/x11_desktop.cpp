#include "platform/linux/x11_desktop.h"

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XInput2.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <map>
#include <sstream>

#include "platform/linux/x11_errors.h"

namespace textport::x11 {

namespace {

// macOS virtual key codes that the core or its diagnostics post, with the X keysym of the same
// key. Keys without an X counterpart (the fn key) cannot be posted.
constexpr std::array<std::pair<std::uint16_t, KeySym>, 12> kKeys = {{
    {0, XK_a},
    {8, XK_c},
    {9, XK_v},
    {36, XK_Return},
    {48, XK_Tab},
    {49, XK_space},
    {51, XK_BackSpace},
    {53, XK_Escape},
    {55, XK_Control_L},  // Command: shortcuts use Control on X11
    {56, XK_Shift_L},
    {58, XK_Alt_L},
    {80, XK_F19},
}};

unsigned int buttonOf(MouseButton button) {
  switch (button) {
    case MouseButton::left:
      return 1;
    case MouseButton::right:
      return 3;
    case MouseButton::center:
      return 2;
  }
  return 1;
}

class Desktop final : public X11Desktop {
 public:
  explicit Desktop(Display* display) : display_(display), root_(DefaultRootWindow(display)) {
    int event = 0;
    int error = 0;
    int major = 0;
    int minor = 0;
    xtest_ = XTestQueryExtension(display_, &event, &error, &major, &minor) == True;
    int xiMajor = 2;
    int xiMinor = 2;  // raw events reach every client from 2.1 on
    if (XQueryExtension(display_, "XInputExtension", &xiOpcode_, &event, &error) == True &&
        XIQueryVersion(display_, &xiMajor, &xiMinor) == Success) {
      std::array<unsigned char, XIMaskLen(XI_LASTEVENT)> bits{};
      XISetMask(bits.data(), XI_RawKeyPress);
      XISetMask(bits.data(), XI_RawButtonPress);
      XIEventMask mask{XIAllMasterDevices, static_cast<int>(bits.size()), bits.data()};
      XISelectEvents(display_, root_, &mask, 1);
    }
    XSync(display_, False);
  }
  ~Desktop() override { XCloseDisplay(display_); }
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;

  std::optional<Pid> focusedPid() override {
    Window window = activeWindow();
    if (window == None) return std::nullopt;
    return pidAround(window);
  }

  std::optional<RunningApp> runningApplication(Pid pid) override {
    const std::optional<std::string> started = startTime(pid);
    if (!started) return std::nullopt;
    // A process keeps its id and name while it runs; a reused pid has another start time.
    if (auto known = known_.find(pid); known != known_.end() && known->second.first == *started) {
      return known->second.second;
    }
    if (known_.size() >= kKnownProcesses) known_.clear();
    RunningApp app = describe(pid);
    // An application without a window yet may show its id later.
    if (app.bundleIdentifier) known_[pid] = {*started, app};
    return app;
  }

  std::int64_t windowNumber(Pid pid, const std::string& title) override {
    // Usually asked about the window that has the focus: one look before any search.
    const Window focus = activeWindow();
    if (focus != None && pidOf(focus) == pid && viewable(focus) && titleOf(focus) == title) {
      return static_cast<std::int64_t>(focus);
    }
    Window only = None;
    int shown = 0;
    for (Window window : clientWindows(pid)) {
      if (!viewable(window)) continue;
      ++shown;
      only = window;
      if (titleOf(window) == title) return static_cast<std::int64_t>(window);
    }
    return shown == 1 ? static_cast<std::int64_t>(only) : 0;
  }

  std::uint32_t pressCount(EventType type) override {
    drainEvents();
    switch (type) {
      case EventType::keyDown:
        return keys_;
      case EventType::leftMouseDown:
        return buttons_[0];
      case EventType::rightMouseDown:
        return buttons_[1];
      case EventType::otherMouseDown:
        return buttons_[2];
      default:
        return 0;
    }
  }

  bool canSynthesise() override { return xtest_; }

  bool postKey(std::uint16_t macKeyCode, bool down) override {
    const auto key = std::find_if(kKeys.begin(), kKeys.end(),
                                  [&](const auto& entry) { return entry.first == macKeyCode; });
    if (!xtest_ || key == kKeys.end()) return false;
    const KeyCode code = XKeysymToKeycode(display_, key->second);
    if (code == 0) return false;
    XTestFakeKeyEvent(display_, code, down ? True : False, CurrentTime);
    XSync(display_, False);
    return true;
  }

  bool postPointer(EventType type, Point location, MouseButton button) override {
    if (!xtest_) return false;
    XTestFakeMotionEvent(display_, -1, static_cast<int>(location.x), static_cast<int>(location.y),
                         CurrentTime);
    bool press = false;
    switch (type) {
      case EventType::leftMouseDown:
      case EventType::rightMouseDown:
      case EventType::otherMouseDown:
        press = true;
        [[fallthrough]];
      case EventType::leftMouseUp:
        XTestFakeButtonEvent(display_, buttonOf(button), press ? True : False, CurrentTime);
        break;
      default:
        break;
    }
    XSync(display_, False);
    return true;
  }

  std::optional<Point> pointerLocation() override {
    const std::optional<Pointer> pointer = queryPointer();
    if (!pointer) return std::nullopt;
    return pointer->location;
  }

  bool postPaste(bool terminal) override {
    const KeyCode v = keycodeInActiveGroup(XK_v);
    const KeyCode control = XKeysymToKeycode(display_, XK_Control_L);
    const KeyCode shift = XKeysymToKeycode(display_, XK_Shift_L);
    if (!xtest_ || v == 0 || control == 0 || (terminal && shift == 0)) return false;
    releaseHeldModifiers();
    const auto stroke = [&](KeyCode code, bool down) {
      XTestFakeKeyEvent(display_, code, down ? True : False, CurrentTime);
    };
    stroke(control, true);
    if (terminal) stroke(shift, true);
    stroke(v, true);
    stroke(v, false);
    if (terminal) stroke(shift, false);
    stroke(control, false);
    XSync(display_, False);
    return true;
  }

 private:
  // A key that gives the keysym unshifted in the keyboard group in use, so the shortcut means the
  // same on every layout (XKeysymToKeycode may name a key of another group); that lookup when no
  // key of the group does.
  KeyCode keycodeInActiveGroup(KeySym keysym) {
    XkbStateRec state{};
    int first = 0;
    int last = 0;
    XDisplayKeycodes(display_, &first, &last);
    if (XkbGetState(display_, XkbUseCoreKbd, &state) == Success) {
      for (int code = first; code <= last; ++code) {
        if (XkbKeycodeToKeysym(display_, static_cast<KeyCode>(code), state.group, 0) == keysym) {
          return static_cast<KeyCode>(code);
        }
      }
    }
    return XKeysymToKeycode(display_, keysym);
  }

  struct Pointer {
    Point location;
    Window window;  // the top-level window under it
  };
  std::optional<Pointer> queryPointer() {
    Window rootReturn = None;
    Window child = None;
    int x = 0;
    int y = 0;
    int windowX = 0;
    int windowY = 0;
    unsigned int mask = 0;
    if (XQueryPointer(display_, root_, &rootReturn, &child, &x, &y, &windowX, &windowY, &mask) ==
        False) {
      return std::nullopt;
    }
    return Pointer{{static_cast<double>(x), static_cast<double>(y)}, child};
  }

  RunningApp describe(Pid pid) {
    RunningApp app{pid, std::nullopt, std::nullopt};
    std::ifstream comm("/proc/" + std::to_string(pid) + "/comm");
    if (std::string name; std::getline(comm, name)) app.localizedName = name;
    for (Window window : clientWindows(pid)) {
      // GTK applications carry their application id, the nearest thing to a bundle identifier;
      // other programs are known by their window class.
      if (auto id = textProperty(window, "_GTK_APPLICATION_ID")) {
        app.bundleIdentifier = id;
        break;
      }
      XClassHint hint{};
      if (XGetClassHint(display_, window, &hint) != 0) {
        if (hint.res_class != nullptr && *hint.res_class != '\0' && !app.bundleIdentifier) {
          app.bundleIdentifier = hint.res_class;
        }
        XFree(hint.res_name);
        XFree(hint.res_class);
      }
    }
    return app;
  }

  bool viewable(Window window) {
    XWindowAttributes attributes{};
    return XGetWindowAttributes(display_, window, &attributes) != 0 &&
           attributes.map_state == IsViewable;
  }

  std::optional<std::string> titleOf(Window window) {
    auto name = textProperty(window, "_NET_WM_NAME");
    return name ? name : textProperty(window, "WM_NAME");
  }

  // A modifier the user holds would turn Control+V into another shortcut.
  void releaseHeldModifiers() {
    std::array<char, 32> pressed{};
    XQueryKeymap(display_, pressed.data());
    XModifierKeymap* map = XGetModifierMapping(display_);
    if (map == nullptr) return;
    for (int i = 0; i < 8 * map->max_keypermod; ++i) {
      const KeyCode code = map->modifiermap[i];
      if (code != 0 && (pressed[code / 8] & (1 << (code % 8))) != 0) {
        XTestFakeKeyEvent(display_, code, False, CurrentTime);
      }
    }
    XFreeModifiermap(map);
  }

  // Counts the raw presses that arrived since the last look.
  void drainEvents() {
    XSync(display_, False);
    while (XPending(display_) > 0) {
      XEvent event;
      XNextEvent(display_, &event);
      XGenericEventCookie* cookie = &event.xcookie;
      if (cookie->type != GenericEvent || cookie->extension != xiOpcode_ ||
          XGetEventData(display_, cookie) == False) {
        continue;
      }
      const auto* raw = static_cast<const XIRawEvent*>(cookie->data);
      if (cookie->evtype == XI_RawKeyPress) {
        ++keys_;
      } else if (cookie->evtype == XI_RawButtonPress) {
        // Buttons 4 to 7 are the scroll wheel's steps, not clicks.
        if (raw->detail == 1) ++buttons_[0];
        if (raw->detail == 3) ++buttons_[1];
        if (raw->detail == 2 || raw->detail >= 8) ++buttons_[2];
      }
      XFreeEventData(display_, cookie);
    }
  }

  // Only reads: an atom nobody made yet names no property anywhere.
  Atom atom(const char* name) { return XInternAtom(display_, name, True); }

  struct XFreeData {
    void operator()(unsigned char* data) const { XFree(data); }
  };
  // One property as the server gives it (32-bit items arrive as longs); type None when missing.
  struct Property {
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    std::unique_ptr<unsigned char, XFreeData> data;
  };

  Property readProperty(Window window, const char* name, Atom type, long length) {
    Property property;
    unsigned long after = 0;
    unsigned char* data = nullptr;
    const bool read =
        XGetWindowProperty(display_, window, atom(name), 0, length, False, type, &property.type,
                           &property.format, &property.count, &after, &data) == Success;
    property.data.reset(data);
    if (!read || data == nullptr) property.type = None;
    return property;
  }

  // A property of 32-bit values of that type; empty when missing.
  std::vector<unsigned long> cardinals(Window window, const char* name, Atom type) {
    const Property property = readProperty(window, name, type, 1024);
    if (property.type != type || property.format != 32) return {};
    const auto* values = reinterpret_cast<const unsigned long*>(property.data.get());
    std::vector<unsigned long> result(values, values + property.count);
    return result;
  }

  // The first 32-bit value of a property of that type, unless missing or zero.
  std::optional<unsigned long> firstCardinal(Window window, const char* name, Atom type) {
    const Property property = readProperty(window, name, type, 1);
    if (property.type != type || property.format != 32 || property.count == 0) return std::nullopt;
    const unsigned long value = *reinterpret_cast<const unsigned long*>(property.data.get());
    if (value == 0) return std::nullopt;
    return value;
  }

  std::optional<std::string> textProperty(Window window, const char* name) {
    const Property property = readProperty(window, name, AnyPropertyType, 4096);
    if (property.type == None || property.format != 8) return std::nullopt;
    return std::string(reinterpret_cast<const char*>(property.data.get()), property.count);
  }

  std::optional<Window> windowProperty(Window window, const char* name) {
    return firstCardinal(window, name, XA_WINDOW);
  }

  // A window manager is alive when its check window names itself (a stale property outlives it).
  bool windowManagerRuns() {
    auto check = windowProperty(root_, "_NET_SUPPORTING_WM_CHECK");
    return check && windowProperty(*check, "_NET_SUPPORTING_WM_CHECK") == check;
  }

  Window activeWindow() {
    if (windowManagerRuns()) {
      if (auto active = windowProperty(root_, "_NET_ACTIVE_WINDOW")) return *active;
    }
    Window focus = None;
    int revert = 0;
    XGetInputFocus(display_, &focus, &revert);
    if (focus == PointerRoot) {
      const std::optional<Pointer> pointer = queryPointer();
      return pointer ? pointer->window : None;
    }
    return focus;
  }

  std::optional<Pid> pidOf(Window window) {
    const auto pid = firstCardinal(window, "_NET_WM_PID", XA_CARDINAL);
    if (!pid) return std::nullopt;
    return static_cast<Pid>(*pid);
  }

  std::vector<Window> childrenOf(Window window) {
    Window rootReturn = None;
    Window parent = None;
    Window* children = nullptr;
    unsigned int count = 0;
    if (XQueryTree(display_, window, &rootReturn, &parent, &children, &count) == 0) return {};
    std::vector<Window> result(children, children + count);
    if (children != nullptr) XFree(children);
    return result;
  }

  std::optional<Window> parentOf(Window window) {
    Window rootReturn = None;
    Window parent = None;
    Window* children = nullptr;
    unsigned int count = 0;
    if (XQueryTree(display_, window, &rootReturn, &parent, &children, &count) == 0) {
      return std::nullopt;
    }
    if (children != nullptr) XFree(children);
    return parent;
  }

  // The focus may sit on a child of the top-level window (walk up) or on a window manager's
  // frame around it (look one level down).
  std::optional<Pid> pidAround(Window window) {
    for (Window w = window; w != None && w != root_; w = parentOf(w).value_or(None)) {
      if (auto pid = pidOf(w)) return pid;
    }
    for (Window child : childrenOf(window)) {
      if (auto pid = pidOf(child)) return pid;
    }
    return std::nullopt;
  }

  // The top-level windows of a process: the window manager's client list while one runs, else
  // the root's children.
  std::vector<Window> clientWindows(Pid pid) {
    std::vector<Window> candidates;
    if (windowManagerRuns()) {
      const auto list = cardinals(root_, "_NET_CLIENT_LIST", XA_WINDOW);
      candidates.assign(list.begin(), list.end());
    } else {
      // Without a window manager there are no frames: top-level windows are the root's children.
      candidates = childrenOf(root_);
    }
    std::vector<Window> result;
    for (Window window : candidates) {
      if (pidOf(window) == pid) result.push_back(window);
    }
    return result;
  }

  // When a running process started (in clock ticks since boot), or nothing when it does not
  // run: no such process, or a zombie that has quit.
  static std::optional<std::string> startTime(Pid pid) {
    if (pid <= 0) return std::nullopt;
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    if (!std::getline(stat, line)) return std::nullopt;
    // The fields after the parenthesised command name: state first, start time twentieth.
    const auto close = line.rfind(')');
    if (close == std::string::npos) return std::nullopt;
    std::istringstream fields(line.substr(close + 1));
    std::string field;
    for (int i = 0; i < 20 && fields >> field; ++i) {
      if (i == 0 && field == "Z") return std::nullopt;
    }
    return field;
  }

  Display* display_;
  Window root_;
  bool xtest_ = false;
  int xiOpcode_ = -1;
  static constexpr std::size_t kKnownProcesses = 64;
  std::map<Pid, std::pair<std::string, RunningApp>> known_;  // by pid: start time, description
  std::uint32_t keys_ = 0;
  std::array<std::uint32_t, 3> buttons_{};
};

}  // namespace

std::unique_ptr<X11Desktop> X11Desktop::connect() {
  Display* display = openQuietDisplay();
  if (display == nullptr) return nullptr;
  return std::make_unique<Desktop>(display);
}

}  // namespace textport::x11
