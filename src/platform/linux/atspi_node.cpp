// What elements inside an application answer: attributes from their states, role, text,
// component and action interfaces; the selected range written; AXPress.
#include <chrono>
#include <thread>

#include "platform/linux/atspi_desktop.h"
#include "platform/linux/atspi_vocabulary.h"
#include "platform/utf16.h"

namespace textport::x11 {

namespace {

constexpr int kMaxDepth = 64;
constexpr int kMaxMenuNesting = 16;
constexpr auto kMenuPollInterval = std::chrono::milliseconds(2);

std::u16string unitsOf(const std::string& text) {
  return utf16Of(text, false).value_or(std::u16string{});
}

}  // namespace

AXResult AtspiDesktop::readNode(AtspiElement& node, const std::string& attribute,
                                AtspiRequest& request) {
  AtspiAccessible* accessible = node.accessible();
  // Asked first, whatever the attribute: an object that is gone answers nothing else.
  auto states = request.liveStates(accessible);
  if (!states) return fail(request.error());
  if (attribute == "AXEnabled") {
    return ok(states->has(ATSPI_STATE_ENABLED) && states->has(ATSPI_STATE_SENSITIVE));
  }
  if (attribute == "AXFocused") return ok(states->has(ATSPI_STATE_FOCUSED));
  if (attribute == "AXTitle") {
    auto name = request.name(accessible);
    return name ? ok(*name) : failed(request, kAXErrorNoValue);
  }
  if (attribute == "AXIdentifier") {
    auto id = request.accessibleId(accessible);
    return id ? ok(*id) : failed(request, kAXErrorNoValue);
  }
  if (attribute == "AXChildren") {
    auto children = request.children(accessible);
    auto list = children ? wrapAll(*children, node.pid(), request) : std::nullopt;
    return list ? ok(std::move(*list)) : failed(request, kAXErrorFailure);
  }
  if (attribute == "AXParent") {
    auto parent = request.parent(accessible);
    if (!parent) return fail(request.error());
    auto element = wrap(std::move(*parent), node.pid(), request);
    return element ? ok(std::move(*element)) : failed(request, kAXErrorNoValue);
  }
  if (attribute == "AXPosition" || attribute == "AXSize" || attribute == "AXFrame") {
    auto component = request.component(accessible);
    if (!component) return fail(request.error());
    if (!*component) return fail(kAXErrorAttributeUnsupported);
    auto extents = request.screenExtents(component->get());
    if (!extents) return failed(request, kAXErrorNoValue);
    const Point origin{static_cast<double>(extents->x), static_cast<double>(extents->y)};
    const Size size{static_cast<double>(extents->width), static_cast<double>(extents->height)};
    if (attribute == "AXPosition") return ok(origin);
    if (attribute == "AXSize") return ok(size);
    return ok(Rect{origin, size});
  }
  if (attribute == "AXWindow" || attribute == "AXTopLevelUIElement") {
    return readWindowOf(accessible, node.pid(), request);
  }

  const bool byRole = attribute == "AXRole" || attribute == "AXSubrole" ||
                      attribute == "AXWindowNumber" || attribute == "AXMenuItemCmdChar" ||
                      attribute == "AXMenuItemCmdModifiers" || attribute == "AXValue" ||
                      attribute == "AXSelectedText" || attribute == "AXSelectedTextRange" ||
                      attribute == "AXNumberOfCharacters";
  // Everything else, the text-marker attributes among them.
  if (!byRole) return fail(kAXErrorAttributeUnsupported);
  auto role = request.role(accessible);
  if (!role) return fail(request.error());
  if (attribute == "AXRole" || attribute == "AXSubrole") {
    const MacRole mac = macRole(*role, states->has(ATSPI_STATE_MULTI_LINE));
    if (attribute == "AXRole") return ok(std::string(mac.role));
    if (!mac.subrole) return fail(kAXErrorAttributeUnsupported);
    return ok(std::string(*mac.subrole));
  }
  if (attribute == "AXWindowNumber") return readWindowNumber(node, *role, request);
  if (attribute == "AXMenuItemCmdChar" || attribute == "AXMenuItemCmdModifiers") {
    return readMenuShortcut(accessible, *role, attribute, request);
  }
  return readNodeText(accessible, *role, attribute, request);
}

AXResult AtspiDesktop::readNodeText(AtspiAccessible* accessible, AtspiRole role,
                                    const std::string& attribute, AtspiRequest& request) {
  // macOS never hands a secure field's text to anyone, whatever the toolkit would expose here
  // (some expose the real text), so it is never read: its offsets stay code points.
  const bool secret = role == ATSPI_ROLE_PASSWORD_TEXT;
  if (secret && (attribute == "AXValue" || attribute == "AXSelectedText")) {
    return fail(kAXErrorAttributeUnsupported);
  }
  auto text = request.text(accessible);
  if (!text) return fail(request.error());
  if (!*text) return fail(kAXErrorAttributeUnsupported);
  AtspiText* t = text->get();

  if (attribute == "AXValue") {
    auto value = request.textBetween(t, 0, -1);
    return value ? ok(*value) : failed(request, kAXErrorFailure);
  }
  if (attribute == "AXNumberOfCharacters") {
    if (secret) {
      auto count = request.characterCount(t);
      return count ? ok(std::int64_t{*count}) : failed(request, kAXErrorFailure);
    }
    auto value = request.textBetween(t, 0, -1);
    if (!value) return failed(request, kAXErrorFailure);
    return ok(static_cast<std::int64_t>(unitsOf(*value).size()));
  }
  auto selection = request.selectionOrCaret(t);
  if (!selection) return failed(request, kAXErrorFailure);
  const auto [start, end] = *selection;
  if (attribute == "AXSelectedText") {
    if (start == end) return ok(std::string());
    auto selected = request.textBetween(t, start, end);
    return selected ? ok(*selected) : failed(request, kAXErrorFailure);
  }
  // AXSelectedTextRange
  if (secret) return ok(Range{start, end - start});
  auto before = request.textBetween(t, 0, end);
  if (!before) return failed(request, kAXErrorFailure);
  return ok(utf16Range(*before, start, end));
}

AXResult AtspiDesktop::readWindowOf(AtspiAccessible* accessible, std::optional<Pid> pid,
                                    AtspiRequest& request) {
  // The top-level object above the element (or the element itself), when it is a window.
  AccessibleRef current = AccessibleRef::retain(accessible);
  for (int depth = 0; depth < kMaxDepth; ++depth) {
    auto parent = request.parent(current.get());
    if (!parent) return fail(request.error());
    if (!*parent) break;
    if (isApplicationRoot(parent->get())) {
      auto role = request.role(current.get());
      if (!role) return fail(request.error());
      if (!isWindowRole(*role)) break;
      return ok(nodeElement(std::move(current), pid));
    }
    current = std::move(*parent);
  }
  return fail(kAXErrorNoValue);
}

AXResult AtspiDesktop::readWindowNumber(AtspiElement& node, AtspiRole role, AtspiRequest& request) {
  if (!isWindowRole(role)) return fail(kAXErrorAttributeUnsupported);
  if (!node.pid()) {
    auto pid = request.processId(node.accessible());
    if (!pid) return fail(request.error());
    node.setPid(*pid);
  }
  auto title = request.name(node.accessible());
  if (!title) return failed(request, kAXErrorNoValue);
  // AT-SPI knows no window numbers; the X server's window id stands for one.
  const std::int64_t number =
      windowSystem_.windowNumber ? windowSystem_.windowNumber(*node.pid(), *title) : 0;
  if (number == 0) return fail(kAXErrorNoValue);
  return ok(number);
}

AXResult AtspiDesktop::readMenuShortcut(AtspiAccessible* accessible, AtspiRole role,
                                        const std::string& attribute, AtspiRequest& request) {
  if (!isMenuRole(role)) return fail(kAXErrorAttributeUnsupported);
  auto action = request.action(accessible);
  if (!action) return fail(request.error());
  if (!*action) return fail(kAXErrorNoValue);
  auto count = request.actionCount(action->get());
  if (!count) return fail(request.error());
  if (*count <= 0) return fail(kAXErrorNoValue);
  auto binding = request.keyBinding(action->get(), 0);
  if (!binding) return failed(request, kAXErrorNoValue);
  auto shortcut = menuShortcut(*binding);
  if (!shortcut) return fail(kAXErrorNoValue);
  if (attribute == "AXMenuItemCmdChar") return ok(shortcut->character);
  return ok(shortcut->modifiers);
}

AXResult AtspiDesktop::stringForRange(AtspiAccessible* accessible, const Value& parameter,
                                      AtspiRequest& request) {
  const Range* range = parameter.as<Range>();
  if (range == nullptr) return fail(kAXErrorIllegalArgument);
  if (!request.liveStates(accessible)) return fail(request.error());
  auto role = request.role(accessible);
  if (!role) return fail(request.error());
  if (*role == ATSPI_ROLE_PASSWORD_TEXT) return fail(kAXErrorParameterizedAttributeUnsupported);
  auto text = request.text(accessible);
  if (!text) return fail(request.error());
  if (!*text) return fail(kAXErrorParameterizedAttributeUnsupported);
  auto value = request.textBetween(text->get(), 0, -1);
  if (!value) return failed(request, kAXErrorFailure);
  const std::u16string units = unitsOf(*value);
  if (range->location < 0 || range->length < 0 ||
      range->location + range->length > static_cast<std::int64_t>(units.size())) {
    return fail(kAXErrorIllegalArgument);
  }
  return ok(utf8Of(std::u16string_view(units).substr(static_cast<std::size_t>(range->location),
                                                     static_cast<std::size_t>(range->length))));
}

AXError AtspiDesktop::setSelectedRange(AtspiAccessible* accessible, const Value& value,
                                       AtspiRequest& request) {
  const Range* range = value.as<Range>();
  if (range == nullptr) return kAXErrorIllegalArgument;
  auto role = request.role(accessible);
  if (!role) return request.error();
  auto text = request.text(accessible);
  if (!text) return request.error();
  if (!*text) return kAXErrorAttributeUnsupported;
  AtspiText* t = text->get();
  std::optional<std::pair<std::int64_t, std::int64_t>> points;
  if (*role == ATSPI_ROLE_PASSWORD_TEXT) {
    // Never read: the range is taken as code points and checked against the count.
    auto count = request.characterCount(t);
    if (!count) return request.error();
    if (range->location >= 0 && range->length >= 0 && range->location + range->length <= *count) {
      points = std::make_pair(range->location, range->location + range->length);
    }
  } else {
    auto content = request.textBetween(t, 0, -1);
    if (!content) return request.ok() ? kAXErrorFailure : request.error();
    points = codePointRange(*content, *range);
  }
  if (!points) return kAXErrorIllegalArgument;
  request.select(t, static_cast<int>(points->first), static_cast<int>(points->second));
  return request.error();
}

AXError AtspiDesktop::press(AtspiAccessible* accessible, AtspiRequest& request) {
  auto states = request.liveStates(accessible);
  if (!states) return request.error();
  auto role = request.role(accessible);
  if (!role) return request.error();
  auto action = request.action(accessible);
  if (!action) return request.error();
  if (!*action) return kAXErrorActionUnsupported;
  auto count = request.actionCount(action->get());
  if (!count) return request.error();
  if (*count <= 0) return kAXErrorActionUnsupported;
  // Activating an item of a closed GTK3 menu leaves GTK's focus tracking broken (no element
  // reports the focus afterwards), so the menus are opened as a user would.
  if (isMenuRole(*role) && !states->has(ATSPI_STATE_SHOWING) &&
      !openEnclosingMenus(accessible, request)) {
    return request.error();
  }
  request.doAction(action->get(), 0);
  return request.error();
}

bool AtspiDesktop::openEnclosingMenus(AtspiAccessible* item, AtspiRequest& request) {
  // The menus around the item, innermost first.
  std::vector<AccessibleRef> menus;
  AccessibleRef current = AccessibleRef::retain(item);
  for (int depth = 0; depth < kMaxMenuNesting; ++depth) {
    auto parent = request.parent(current.get());
    if (!parent) return false;
    if (!*parent) break;
    auto role = request.role(parent->get());
    if (!role) return false;
    if (*role != ATSPI_ROLE_MENU) break;
    menus.push_back(*parent);
    current = std::move(*parent);
  }
  const auto showing = [&request](AtspiAccessible* accessible) {
    auto states = request.liveStates(accessible);
    return states && states->has(ATSPI_STATE_SHOWING);
  };
  for (std::size_t i = menus.size(); i-- > 0;) {
    AtspiAccessible* inside = i == 0 ? item : menus[i - 1].get();
    if (showing(inside)) continue;
    if (!request.ok()) return false;
    auto action = request.action(menus[i].get());
    if (!action) return false;
    if (!*action) {
      request.fail(kAXErrorCannotComplete);
      return false;
    }
    if (!request.doAction(action->get(), 0)) return false;
    // The application opens the menu in its own time.
    while (!showing(inside)) {
      if (!request.ok()) return false;
      if (!request.timeLeft()) {
        request.fail(kAXErrorCannotComplete);
        return false;
      }
      std::this_thread::sleep_for(kMenuPollInterval);
    }
  }
  return true;
}

}  // namespace textport::x11
