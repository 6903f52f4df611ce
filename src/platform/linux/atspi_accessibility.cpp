// Connecting, elements, messaging timeouts, and what the system-wide element and application
// elements answer.
#include "platform/linux/atspi_accessibility.h"

#include <cmath>
#include <deque>

#include "platform/linux/atspi_desktop.h"
#include "platform/linux/atspi_vocabulary.h"

namespace textport::x11 {

namespace {

// What macOS gives an element that has no timeout, when no default has been set.
constexpr double kPlatformDefaultTimeout = 6.0;
// How long the registry may take to say whether the accessibility bus works.
constexpr double kAvailabilityTimeout = 0.5;
// How many elements the walk that stands in for a Collection search may visit.
constexpr std::size_t kSearchLimit = 400;

// libatspi and GLib report D-Bus trouble through GLib's log, which writes to standard error.
// The product writes nothing there, so messages of every domain without a handler of its own
// are dropped (the handler is process-wide and holds no state).
void discardLogMessage(const gchar*, GLogLevelFlags, const gchar*, gpointer) {}

MatchRuleRef stateRule(AtspiStateType state) {
  auto states = GObjectRef<AtspiStateSet>::adopt(atspi_state_set_new(nullptr));
  atspi_state_set_add(states.get(), state);
  return MatchRuleRef::adopt(atspi_match_rule_new(
      states.get(), ATSPI_Collection_MATCH_ALL, nullptr, ATSPI_Collection_MATCH_ALL, nullptr,
      ATSPI_Collection_MATCH_ALL, nullptr, ATSPI_Collection_MATCH_ALL, FALSE));
}

MatchRuleRef roleRule(AtspiRole role) {
  GArray* roles = g_array_new(FALSE, FALSE, sizeof(gint));
  gint value = role;
  g_array_append_val(roles, value);
  auto rule = MatchRuleRef::adopt(atspi_match_rule_new(
      nullptr, ATSPI_Collection_MATCH_ALL, nullptr, ATSPI_Collection_MATCH_ALL, roles,
      ATSPI_Collection_MATCH_ANY, nullptr, ATSPI_Collection_MATCH_ALL, FALSE));
  g_array_free(roles, TRUE);
  return rule;
}

}  // namespace

std::unique_ptr<AtspiAccessibility> AtspiAccessibility::connect(WindowSystem windowSystem) {
  g_log_set_default_handler(discardLogMessage, nullptr);
  // 1: already initialised, by an earlier instance (libatspi's connection is per process), which
  // may have found no bus: libatspi aborts the process when asked for the desktop without one.
  const int status = atspi_init();
  if ((status != 0 && status != 1) || atspi_get_a11y_bus() == nullptr) return nullptr;
  auto desktop = AccessibleRef::adopt(atspi_get_desktop(0));
  if (!desktop) return nullptr;
  return std::make_unique<AtspiDesktop>(std::move(windowSystem), std::move(desktop));
}

AtspiDesktop::AtspiDesktop(WindowSystem windowSystem, AccessibleRef desktop)
    : windowSystem_(std::move(windowSystem)),
      desktop_(std::move(desktop)),
      focusedRule_(stateRule(ATSPI_STATE_FOCUSED)),
      menuBarRule_(roleRule(ATSPI_ROLE_MENU_BAR)) {}

bool AtspiDesktop::available() {
  AtspiRequest request(kAvailabilityTimeout);
  return request.childCount(desktop_.get()).has_value();
}

Element AtspiDesktop::applicationElement(Pid pid) {
  // Like macOS, making the element asks nobody; the application is looked for on first use.
  return x11::applicationElement(pid);
}

Element AtspiDesktop::systemWideElement() {
  return x11::systemWideElement();
}

AXError AtspiDesktop::setMessagingTimeout(const Element& element, float seconds) {
  AtspiElement* e = atspiElement(element);
  if (e == nullptr || !(seconds >= 0) || std::isinf(seconds)) return kAXErrorIllegalArgument;
  // Zero takes the setting away.
  const std::optional<double> setting = seconds > 0 ? std::optional<double>(seconds) : std::nullopt;
  if (e->kind() == ElementKind::systemWide) {
    defaultTimeout_ = setting;
  } else {
    e->setTimeout(setting);
  }
  return kAXErrorSuccess;
}

double AtspiDesktop::timeoutOf(const AtspiElement& element) const {
  if (element.kind() != ElementKind::systemWide && element.timeout()) return *element.timeout();
  return defaultTimeout_.value_or(kPlatformDefaultTimeout);
}

AXResult AtspiDesktop::copyAttributeValue(const Element& element, const std::string& attribute) {
  AtspiElement* e = atspiElement(element);
  if (e == nullptr) return fail(kAXErrorIllegalArgument);
  AtspiRequest request(timeoutOf(*e));
  switch (e->kind()) {
    case ElementKind::systemWide:
      return readSystemWide(attribute, request);
    case ElementKind::application:
      return readApplication(*e, attribute, request);
    case ElementKind::node:
      return readNode(*e, attribute, request);
  }
  return fail(kAXErrorFailure);
}

std::optional<Pid> AtspiDesktop::pidOfElement(const Element& element) {
  AtspiElement* e = atspiElement(element);
  if (e == nullptr || e->kind() == ElementKind::systemWide) return std::nullopt;
  if (e->pid()) return e->pid();
  AtspiRequest request(timeoutOf(*e));
  auto pid = request.processId(e->accessible());
  if (pid) e->setPid(*pid);
  return pid;
}

bool AtspiDesktop::focusedElementIsTerminal(Pid pid) {
  AtspiRequest request(defaultTimeout_.value_or(kPlatformDefaultTimeout));
  AccessibleRef root = findRoot(pid, request);
  if (!root) return false;
  auto focused = focusedIn(root.get(), request);
  if (!focused || !*focused) return false;
  return request.role(focused->get()) == ATSPI_ROLE_TERMINAL;
}

AccessibleRef AtspiDesktop::findRoot(Pid pid, AtspiRequest& request) {
  // A root found before still serves while the bus says it belongs to the process: a process
  // that quit loses its bus name, and its number may come back with another application.
  // Each process is asked for on its own, so that one that quit fails only its own question.
  const auto processOf = [&request](AtspiAccessible* root) -> std::optional<Pid> {
    AtspiRequest ask(request.secondsLeft());
    auto owner = ask.processId(root);
    if (ask.error() == kAXErrorCannotComplete) request.fail(kAXErrorCannotComplete);
    return owner;
  };
  if (auto known = roots_.find(pid); known != roots_.end()) {
    if (processOf(known->second.get()) == pid) return known->second;
    roots_.erase(known);
  }
  auto count = request.childCount(desktop_.get());
  for (int i = 0; count && i < *count && request.ok(); ++i) {
    auto application = request.child(desktop_.get(), i);
    if (!application) break;
    if (!*application) continue;
    auto owner = processOf(application->get());
    if (owner) roots_[*owner] = *application;
    if (owner == pid) return *application;
  }
  return {};
}

AtspiAccessible* AtspiDesktop::rootOf(AtspiElement& application, AtspiRequest& request) {
  if (application.accessible() != nullptr) {
    // Found before: the application may have quit since.
    return request.liveStates(application.accessible()) ? application.accessible() : nullptr;
  }
  AccessibleRef root = findRoot(*application.pid(), request);
  if (!root) {
    // No such process, or one without an accessible application, as macOS answers both.
    request.fail(kAXErrorCannotComplete);
    return nullptr;
  }
  application.setAccessible(std::move(root));
  return application.accessible();
}

std::optional<Element> AtspiDesktop::wrap(AccessibleRef accessible, std::optional<Pid> pid,
                                          AtspiRequest& request) {
  if (!accessible) return std::nullopt;
  if (!isApplicationRoot(accessible.get())) return nodeElement(std::move(accessible), pid);
  if (!pid) pid = request.processId(accessible.get());
  if (!pid) return std::nullopt;
  return x11::applicationElement(*pid, std::move(accessible));
}

std::optional<Value> AtspiDesktop::wrapAll(const std::vector<AccessibleRef>& accessibles,
                                           std::optional<Pid> pid, AtspiRequest& request) {
  ValueList list;
  list.reserve(accessibles.size());
  for (const AccessibleRef& accessible : accessibles) {
    auto element = wrap(accessible, pid, request);
    if (!element) return std::nullopt;
    list.emplace_back(std::move(*element));
  }
  return Value(std::move(list));
}

std::optional<std::vector<AccessibleRef>> AtspiDesktop::windows(AtspiAccessible* root,
                                                                AtspiRequest& request) {
  auto children = request.children(root);
  if (!children) return std::nullopt;
  std::vector<AccessibleRef> found;
  for (AccessibleRef& child : *children) {
    auto role = request.role(child.get());
    if (!role) return std::nullopt;
    if (isWindowRole(*role)) found.push_back(std::move(child));
  }
  return found;
}

std::optional<AccessibleRef> AtspiDesktop::activeWindow(AtspiAccessible* root,
                                                        AtspiRequest& request) {
  auto all = windows(root, request);
  if (!all) return std::nullopt;
  for (AccessibleRef& window : *all) {
    // A window that closed meanwhile (DEFUNCT) is not active.
    auto states = request.states(window.get());
    if (!states) return std::nullopt;
    if (states->has(ATSPI_STATE_ACTIVE) && !states->has(ATSPI_STATE_DEFUNCT)) {
      return std::move(window);
    }
  }
  return AccessibleRef{};
}

std::optional<AccessibleRef> AtspiDesktop::firstInside(AtspiAccessible* scope, AtspiMatchRule* rule,
                                                       AtspiStateType state, AtspiRole role,
                                                       AtspiRequest& request) {
  auto collection = request.collection(scope);
  if (!collection) return std::nullopt;
  if (*collection) return request.firstMatch(collection->get(), rule);
  // No Collection interface: a breadth-first walk of what shows, bounded.
  std::deque<AccessibleRef> queue{AccessibleRef::retain(scope)};
  for (std::size_t visited = 0; !queue.empty() && visited < kSearchLimit; ++visited) {
    AccessibleRef element = std::move(queue.front());
    queue.pop_front();
    auto states = request.states(element.get());
    if (!states) return std::nullopt;
    if (states->has(ATSPI_STATE_DEFUNCT)) continue;  // went away meanwhile
    if (visited > 0) {
      if (state != ATSPI_STATE_INVALID && states->has(state)) return element;
      if (role != ATSPI_ROLE_INVALID && request.role(element.get()) == role) return element;
      if (!request.ok()) return std::nullopt;
      if (!states->has(ATSPI_STATE_SHOWING)) continue;
    }
    auto children = request.children(element.get());
    if (!children) return std::nullopt;
    queue.insert(queue.end(), children->begin(), children->end());
  }
  return AccessibleRef{};
}

std::optional<AccessibleRef> AtspiDesktop::focusedIn(AtspiAccessible* root, AtspiRequest& request) {
  auto window = activeWindow(root, request);
  if (!window || !*window) return window;
  return firstInside(window->get(), focusedRule_.get(), ATSPI_STATE_FOCUSED, ATSPI_ROLE_INVALID,
                     request);
}

std::optional<AccessibleRef> AtspiDesktop::menuBarIn(AtspiAccessible* root, AtspiRequest& request) {
  // The active window's menu bar, else the first window's that has one.
  auto active = activeWindow(root, request);
  if (!active) return std::nullopt;
  std::vector<AccessibleRef> candidates;
  if (*active) candidates.push_back(*active);
  auto all = windows(root, request);
  if (!all) return std::nullopt;
  candidates.insert(candidates.end(), all->begin(), all->end());
  for (const AccessibleRef& window : candidates) {
    auto bar = firstInside(window.get(), menuBarRule_.get(), ATSPI_STATE_INVALID,
                           ATSPI_ROLE_MENU_BAR, request);
    if (!bar) return std::nullopt;
    if (*bar) return bar;
  }
  return AccessibleRef{};
}

AXResult AtspiDesktop::readSystemWide(const std::string& attribute, AtspiRequest& request) {
  if (attribute == "AXRole") return ok("AXSystemWide");
  const bool application = attribute == "AXFocusedApplication";
  if (!application && attribute != "AXFocusedUIElement") {
    return fail(kAXErrorAttributeUnsupported);
  }
  const std::optional<Pid> pid =
      windowSystem_.frontmostPid ? windowSystem_.frontmostPid() : std::nullopt;
  if (!pid) return fail(kAXErrorNoValue);
  AccessibleRef root = findRoot(*pid, request);
  if (!root) return failed(request, kAXErrorNoValue);
  if (application) return ok(x11::applicationElement(*pid, std::move(root)));
  auto focused = focusedIn(root.get(), request);
  if (!focused || !*focused) return failed(request, kAXErrorNoValue);
  return ok(nodeElement(std::move(*focused), pid));
}

AXResult AtspiDesktop::readApplication(AtspiElement& application, const std::string& attribute,
                                       AtspiRequest& request) {
  AtspiAccessible* root = rootOf(application, request);
  if (root == nullptr) return failed(request, kAXErrorCannotComplete);
  const Pid pid = *application.pid();
  if (attribute == "AXRole") return ok("AXApplication");
  if (attribute == "AXFrontmost") {
    return ok(windowSystem_.frontmostPid && windowSystem_.frontmostPid() == pid);
  }
  if (attribute == "AXTitle") {
    auto name = request.name(root);
    return name ? ok(*name) : failed(request, kAXErrorNoValue);
  }
  std::optional<AccessibleRef> found;
  if (attribute == "AXFocusedWindow" || attribute == "AXMainWindow") {
    found = activeWindow(root, request);
  } else if (attribute == "AXFocusedUIElement") {
    found = focusedIn(root, request);
  } else if (attribute == "AXMenuBar") {
    found = menuBarIn(root, request);
  } else if (attribute == "AXWindows" || attribute == "AXChildren") {
    auto list = attribute == "AXWindows" ? windows(root, request) : request.children(root);
    auto value = list ? wrapAll(*list, pid, request) : std::nullopt;
    return value ? ok(std::move(*value)) : failed(request, kAXErrorFailure);
  } else {
    // Including AXManualAccessibility and AXEnhancedUserInterface: AT-SPI has no switch, the
    // whole tree is there whenever the accessibility bus is on.
    return fail(kAXErrorAttributeUnsupported);
  }
  if (!found || !*found) return failed(request, kAXErrorNoValue);
  return ok(nodeElement(std::move(*found), pid));
}

AXResult AtspiDesktop::copyParameterizedAttributeValue(const Element& element,
                                                       const std::string& attribute,
                                                       const Value& parameter) {
  AtspiElement* e = atspiElement(element);
  if (e == nullptr) return fail(kAXErrorIllegalArgument);
  AtspiRequest request(timeoutOf(*e));
  if (e->kind() == ElementKind::application && rootOf(*e, request) == nullptr) {
    return failed(request, kAXErrorCannotComplete);
  }
  if (e->kind() != ElementKind::node || attribute != "AXStringForRange") {
    // Text markers are a WebKit idea that AT-SPI does not share; its Text interface covers the
    // need.
    return fail(kAXErrorParameterizedAttributeUnsupported);
  }
  return stringForRange(e->accessible(), parameter, request);
}

AXError AtspiDesktop::setAttributeValue(const Element& element, const std::string& attribute,
                                        const Value& value) {
  AtspiElement* e = atspiElement(element);
  if (e == nullptr) return kAXErrorIllegalArgument;
  AtspiRequest request(timeoutOf(*e));
  switch (e->kind()) {
    case ElementKind::systemWide:
      return kAXErrorAttributeUnsupported;
    case ElementKind::application:
      // What macOS answers for an application that does not know the attribute, which is what
      // AXManualAccessibility and AXEnhancedUserInterface are here.
      if (rootOf(*e, request) == nullptr) return request.error();
      return kAXErrorAttributeUnsupported;
    case ElementKind::node:
      break;
  }
  AtspiAccessible* accessible = e->accessible();
  if (!request.liveStates(accessible)) return request.error();
  if (attribute == "AXFocused") {
    const bool* on = value.as<bool>();
    if (on == nullptr) return kAXErrorIllegalArgument;
    // Taking the focus away has no AT-SPI call; macOS too leaves that to the next focus.
    if (!*on) return kAXErrorSuccess;
    auto component = request.component(accessible);
    if (!component) return request.error();
    if (!*component) return kAXErrorAttributeUnsupported;
    request.grabFocus(component->get());
    return request.error();
  }
  if (attribute == "AXSelectedTextRange") return setSelectedRange(accessible, value, request);
  return kAXErrorAttributeUnsupported;
}

AXError AtspiDesktop::performAction(const Element& element, const std::string& action) {
  AtspiElement* e = atspiElement(element);
  if (e == nullptr) return kAXErrorIllegalArgument;
  AtspiRequest request(timeoutOf(*e));
  if (e->kind() == ElementKind::application && rootOf(*e, request) == nullptr) {
    return request.error();
  }
  if (e->kind() != ElementKind::node || action != "AXPress") return kAXErrorActionUnsupported;
  return press(e->accessible(), request);
}

}  // namespace textport::x11
