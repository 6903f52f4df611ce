#include "accessibility/element_helpers.h"

namespace textport {

std::optional<Element> axElement(const Value& value) {
  if (const auto* element = value.as<Element>(); element != nullptr && *element) return *element;
  return std::nullopt;
}

Value attribute(Platform& platform, const Element& element, const std::string& name) {
  AXResult result = platform.copyAttributeValue(element, name);
  if (!result.ok()) return Value{};
  return std::move(result.value);
}

std::optional<std::string> stringAttribute(Platform& platform, const Element& element,
                                           const std::string& name) {
  Value value = attribute(platform, element, name);
  if (const auto* s = value.as<std::string>()) return *s;
  return std::nullopt;
}

std::optional<Element> focusedElement(Platform& platform, const Element& application, Pid pid) {
  // The application's own answer is taken as it is; only the system-wide fallback can name an
  // element of another process, so only that one is checked.
  if (auto focused = axElement(attribute(platform, application, "AXFocusedUIElement"))) {
    return focused;
  }
  Element systemWide = platform.createSystemWideElement();
  platform.setMessagingTimeout(systemWide, kFocusFallbackTimeout);
  auto focused = axElement(attribute(platform, systemWide, "AXFocusedUIElement"));
  if (!focused) return std::nullopt;
  auto owner = platform.pidOfElement(*focused);
  if (!owner || *owner != pid) return std::nullopt;
  return focused;
}

std::optional<Rect> elementRect(Platform& platform, const Element& element) {
  Value position = attribute(platform, element, "AXPosition");
  if (position.isNothing()) return std::nullopt;
  Value size = attribute(platform, element, "AXSize");
  if (size.isNothing()) return std::nullopt;
  if (!position.isAXValue() || !size.isAXValue()) return std::nullopt;
  const auto* origin = position.as<Point>();
  if (origin == nullptr) return std::nullopt;
  const auto* extent = size.as<Size>();
  if (extent == nullptr) return std::nullopt;
  // Written so that a width or height that is not a number fails too.
  if (!(extent->width > 0) || !(extent->height > 0)) return std::nullopt;
  return Rect{*origin, *extent};
}

std::optional<RunningApp> frontmost(Platform& platform) {
  Element systemWide = platform.createSystemWideElement();
  platform.setMessagingTimeout(systemWide, kFrontmostTimeout);
  Value focusedApp = attribute(platform, systemWide, "AXFocusedApplication");
  if (auto app = axElement(focusedApp)) {
    if (auto pid = platform.pidOfElement(*app)) return platform.runningApplication(*pid);
  }
  // Let pending workspace notifications arrive before asking the workspace.
  platform.runLoop(0.005);
  return platform.frontmostApplication();
}

std::map<std::string, AXError> enableAccessibility(Platform& platform, const Element& application) {
  std::map<std::string, AXError> results;
  for (const char* name : {"AXManualAccessibility", "AXEnhancedUserInterface"}) {
    results[name] = platform.setAttributeValue(application, name, Value{true});
  }
  return results;
}

Element applicationElement(Platform& platform, Pid pid, float timeout) {
  Element application = platform.createApplicationElement(pid);
  platform.setMessagingTimeout(application, timeout);
  return application;
}

std::optional<Range> selectedRange(Platform& platform, const Element& element) {
  Value value = attribute(platform, element, "AXSelectedTextRange");
  if (const auto* range = value.as<Range>()) return *range;
  return std::nullopt;
}

std::optional<std::vector<Element>> children(Platform& platform, const Element& element) {
  Value value = attribute(platform, element, "AXChildren");
  const auto* list = value.as<ValueList>();
  if (list == nullptr) return std::nullopt;
  std::vector<Element> elements;
  elements.reserve(list->size());
  for (const Value& item : *list) {
    auto child = axElement(item);
    if (!child) return std::nullopt;
    elements.push_back(*child);
  }
  return elements;
}

}  // namespace textport
