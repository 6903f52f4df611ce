// What simulated elements answer: attributes derived from the world's data (live text
// fields, geometry, focus), overridden or failed per attribute by the world file.
#include <algorithm>

#include "platform/sim/sim_desktop.h"
#include "platform/sim/sim_text.h"

namespace textport::sim {
namespace {

AXResult ok(Value value) {
  return {kAXErrorSuccess, std::move(value)};
}
AXResult fail(AXError error) {
  return {error, {}};
}

// The override or error the world file gives for an attribute, if any.
std::optional<AXResult> configured(const std::map<std::string, AXError>& errors,
                                   const std::map<std::string, Value>& overrides,
                                   const std::string& name) {
  if (auto it = errors.find(name); it != errors.end()) return fail(it->second);
  if (auto it = overrides.find(name); it != overrides.end()) return ok(it->second);
  return std::nullopt;
}

std::string markerName(const SimNode& node) {
  return "selection:" + node.id;
}

}  // namespace

Element SimDesktop::nodeElement(const std::string& id) const {
  const SimNode* node = world_.node(id);
  return makeElement(ElementKind::node, node ? node->pid : 0, id);
}

Value SimDesktop::fresh(const Value& stored) const {
  if (const Element* element = stored.as<Element>()) {
    const SimElement* e = simElement(*element);
    if (!e) return stored;
    if (e->kind == ElementKind::node) return nodeElement(e->nodeId);
    return makeElement(e->kind, e->pid);
  }
  if (const ValueList* list = stored.as<ValueList>()) {
    ValueList out;
    for (const Value& v : *list) out.push_back(fresh(v));
    return out;
  }
  return stored;
}

std::optional<std::string> SimDesktop::visibleFocus(const SimApp& app) const {
  if (app.focusNeedsSwitch && !app.switchedOn) return std::nullopt;
  return app.focused;
}

std::optional<std::string> SimDesktop::selectedTextOf(const SimNode& node) const {
  if (node.value && node.selectedRange) {
    const std::u16string text = toUtf16(*node.value);
    const auto loc = static_cast<std::size_t>(node.selectedRange->location);
    const auto len = static_cast<std::size_t>(node.selectedRange->length);
    return toUtf8(std::u16string_view(text).substr(std::min(loc, text.size()), len));
  }
  return node.textMarkerText;
}

AXResult SimDesktop::readAttribute(const SimElement& element, const std::string& name) {
  AXResult result = fail(kAXErrorInvalidUIElement);
  switch (element.kind) {
    case ElementKind::systemWide:
      result = readSystemAttribute(name);
      break;
    case ElementKind::application:
      if (const SimApp* app = world_.app(element.pid))
        result = readApplicationAttribute(*app, name);
      break;
    case ElementKind::node:
      if (const SimNode* node = world_.node(element.nodeId))
        result = readNodeAttribute(*node, name);
      break;
  }
  if (result.ok()) result.value = fresh(result.value);
  return result;
}

AXResult SimDesktop::readSystemAttribute(const std::string& name) {
  if (auto c = configured(world_.system.errors, world_.system.attributes, name)) return *c;
  const SimApp* front = frontmost_ ? world_.app(*frontmost_) : nullptr;
  if (name == "AXRole") return ok("AXSystemWide");
  if (name == "AXFocusedApplication") {
    if (!front) return fail(kAXErrorNoValue);
    return ok(makeElement(ElementKind::application, front->pid));
  }
  if (name == "AXFocusedUIElement") {
    const auto focus = front ? visibleFocus(*front) : std::nullopt;
    if (!focus) return fail(kAXErrorNoValue);
    return ok(nodeElement(*focus));
  }
  return fail(kAXErrorAttributeUnsupported);
}

AXResult SimDesktop::readApplicationAttribute(const SimApp& app, const std::string& name) {
  if (auto c = configured(app.errors, app.attributes, name)) return *c;
  if (name == "AXRole") return ok("AXApplication");
  if (name == "AXTitle") return app.name ? ok(*app.name) : fail(kAXErrorNoValue);
  if (name == "AXFrontmost") return ok(frontmost_ == app.pid);
  if (name == "AXFocusedUIElement") {
    const auto focus = visibleFocus(app);
    return focus ? ok(nodeElement(*focus)) : fail(kAXErrorNoValue);
  }
  if (name == "AXFocusedWindow" || name == "AXMainWindow") {
    return app.focusedWindow ? ok(nodeElement(*app.focusedWindow)) : fail(kAXErrorNoValue);
  }
  if (name == "AXMenuBar")
    return app.menuBar ? ok(nodeElement(*app.menuBar)) : fail(kAXErrorNoValue);
  if (name == "AXWindows" || name == "AXChildren") {
    ValueList list;
    if (name == "AXChildren" && app.menuBar) list.push_back(nodeElement(*app.menuBar));
    for (const auto& id : app.windows) list.push_back(nodeElement(id));
    return ok(list);
  }
  if (name == "AXManualAccessibility" || name == "AXEnhancedUserInterface") {
    return ok(app.switchedOn);
  }
  return fail(kAXErrorAttributeUnsupported);
}

AXResult SimDesktop::readNodeAttribute(const SimNode& node, const std::string& name) {
  if (auto c = configured(node.errors, node.attributes, name)) return *c;
  const SimApp* app = world_.app(node.pid);
  const auto optional = [](const auto& field) -> AXResult {
    if (!field) return fail(kAXErrorAttributeUnsupported);
    return ok(*field);
  };
  if (name == "AXRole") return ok(node.role);
  if (name == "AXSubrole") return optional(node.subrole);
  if (name == "AXIdentifier") return optional(node.identifier);
  if (name == "AXTitle") return optional(node.title);
  if (name == "AXEnabled") return optional(node.enabled);
  if (name == "AXWindowNumber") return optional(node.windowNumber);
  if (name == "AXMenuItemCmdChar") return optional(node.cmdChar);
  if (name == "AXMenuItemCmdModifiers") return optional(node.cmdModifiers);
  if (name == "AXPosition") return node.frame ? ok(node.frame->origin) : optional(node.frame);
  if (name == "AXSize") return node.frame ? ok(node.frame->size) : optional(node.frame);
  if (name == "AXFrame") return optional(node.frame);
  if (name == "AXFocused") return ok(app && app->focused == node.id);
  if (name == "AXChildren") {
    ValueList list;
    // An application that keeps its deep tree hidden shows its windows empty until it is
    // switched on.
    const bool hidden =
        app && app->treeNeedsSwitch && !app->switchedOn &&
        std::find(app->windows.begin(), app->windows.end(), node.id) != app->windows.end();
    if (!hidden) {
      for (const auto& id : node.children) list.push_back(nodeElement(id));
    }
    return ok(list);
  }
  if (name == "AXParent") {
    if (node.parent.empty()) return ok(makeElement(ElementKind::application, node.pid));
    return ok(nodeElement(node.parent));
  }
  if (name == "AXWindow" || name == "AXTopLevelUIElement") {
    const auto window = world_.windowOf(node.id);
    return window ? ok(nodeElement(*window)) : fail(kAXErrorNoValue);
  }
  if (name == "AXSelectedTextMarkerRange") {
    return node.textMarker ? ok(makeMarker(markerName(node))) : fail(kAXErrorAttributeUnsupported);
  }
  if (!node.value) return fail(kAXErrorAttributeUnsupported);
  if (name == "AXValue") return ok(*node.value);
  if (name == "AXNumberOfCharacters") {
    return ok(static_cast<std::int64_t>(toUtf16(*node.value).size()));
  }
  if (name == "AXSelectedTextRange") return optional(node.selectedRange);
  if (name == "AXSelectedText") {
    // A text-marker element keeps its selection out of the plain attribute.
    if (node.textMarker) return fail(kAXErrorAttributeUnsupported);
    return optional(selectedTextOf(node));
  }
  return fail(kAXErrorAttributeUnsupported);
}

AXResult SimDesktop::readParameterized(const SimElement& element, const std::string& name,
                                       const Value& parameter) {
  if (element.kind == ElementKind::systemWide) {
    if (auto it = world_.system.errors.find(name); it != world_.system.errors.end()) {
      return fail(it->second);
    }
    return fail(kAXErrorParameterizedAttributeUnsupported);
  }
  if (element.kind == ElementKind::application) {
    const SimApp* app = world_.app(element.pid);
    if (auto it = app->errors.find(name); it != app->errors.end()) return fail(it->second);
    return fail(kAXErrorParameterizedAttributeUnsupported);
  }
  const SimNode* node = world_.node(element.nodeId);
  if (!node) return fail(kAXErrorInvalidUIElement);
  if (auto it = node->errors.find(name); it != node->errors.end()) return fail(it->second);
  if (auto it = node->parameterized.find(name); it != node->parameterized.end()) {
    return ok(fresh(it->second));
  }
  if (name == "AXAttributedStringForTextMarkerRange" && node->textMarker) {
    const Opaque* marker = parameter.as<Opaque>();
    const SimMarker* m = marker ? simMarker(*marker) : nullptr;
    if (!m || m->name != markerName(*node)) return fail(kAXErrorIllegalArgument);
    // A fixed marker text stands for what a web view would render for the marked range.
    return ok(AttributedString{node->textMarkerText ? *node->textMarkerText
                                                    : selectedTextOf(*node).value_or("")});
  }
  if (name == "AXStringForRange" && node->value) {
    const Range* range = parameter.as<Range>();
    const std::u16string text = toUtf16(*node->value);
    if (!range || range->location < 0 || range->length < 0 ||
        range->location + range->length > static_cast<std::int64_t>(text.size())) {
      return fail(kAXErrorIllegalArgument);
    }
    return ok(toUtf8(std::u16string_view(text).substr(range->location, range->length)));
  }
  return fail(kAXErrorParameterizedAttributeUnsupported);
}

AXError SimDesktop::writeAttribute(const SimElement& element, const std::string& name,
                                   const Value& value) {
  if (element.kind == ElementKind::systemWide) return kAXErrorAttributeUnsupported;
  if (element.kind == ElementKind::application) {
    SimApp* app = world_.app(element.pid);
    const bool manual = name == "AXManualAccessibility";
    if (!manual && name != "AXEnhancedUserInterface") return kAXErrorAttributeUnsupported;
    const AXError result =
        manual ? app->manualAccessibilityResult : app->enhancedUserInterfaceResult;
    if (result == kAXErrorSuccess) {
      const bool* on = value.as<bool>();
      if (!on) return kAXErrorIllegalArgument;
      if (*on && !app->switchedOn) {
        app->switchedOn = true;
        if (app->focusAfterSwitch) {
          app->focused = *app->focusAfterSwitch;
          if (app->focused) app->focusedWindow = world_.windowOf(*app->focused);
        }
      }
      happened("accessibility_switch", name);
    }
    return result;
  }
  SimNode* node = world_.node(element.nodeId);
  if (!node) return kAXErrorInvalidUIElement;
  if (auto it = node->setErrors.find(name); it != node->setErrors.end()) return it->second;
  if (name == "AXFocused") {
    const bool* on = value.as<bool>();
    if (!on) return kAXErrorIllegalArgument;
    if (*on) fire(FocusMove{node->id});
    return kAXErrorSuccess;
  }
  if (name == "AXValue" && node->value) {
    const std::string* text = value.as<std::string>();
    if (!text) return kAXErrorIllegalArgument;
    fire(TextEdit{node->id, *text, std::nullopt});
    return kAXErrorSuccess;
  }
  if (name == "AXSelectedTextRange" && node->value) {
    const Range* range = value.as<Range>();
    const auto size = static_cast<std::int64_t>(toUtf16(*node->value).size());
    if (!range || range->location < 0 || range->length < 0 ||
        range->location + range->length > size) {
      return kAXErrorIllegalArgument;
    }
    node->selectedRange = *range;
    return kAXErrorSuccess;
  }
  if (std::find(node->settable.begin(), node->settable.end(), name) != node->settable.end()) {
    node->attributes[name] = value;
    return kAXErrorSuccess;
  }
  return kAXErrorAttributeUnsupported;
}

AXError SimDesktop::act(const SimElement& element, const std::string& action) {
  if (element.kind != ElementKind::node) return kAXErrorActionUnsupported;
  const SimNode* node = world_.node(element.nodeId);
  if (!node) return kAXErrorInvalidUIElement;
  if (node->copies && action == "AXPress") {
    const SimApp* app = world_.app(node->pid);
    const CopyBehaviour copy = app->copy.value_or(CopyBehaviour{});
    if (copy.pressError != kAXErrorSuccess) return copy.pressError;
    happened("copy_pressed", node->id);
    timeline_.add({clock_.now() + copy.delay, std::nullopt, AppCopyLands{node->pid}});
    return kAXErrorSuccess;
  }
  if (auto it = node->actions.find(action); it != node->actions.end()) {
    happened("action", node->id + " " + action);
    return it->second;
  }
  if (action == "AXPress" && node->role == "AXMenuItem") return kAXErrorSuccess;
  return kAXErrorActionUnsupported;
}

}  // namespace textport::sim
