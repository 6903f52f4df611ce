#include "capture/target_description.h"

#include "accessibility/composer_search.h"
#include "accessibility/copy_selection.h"
#include "accessibility/element_helpers.h"
#include "accessibility/selected_text.h"
#include "capture/special_applications.h"

namespace textport {

namespace {
constexpr std::size_t kMaxSelectionBytes = 20000;

// What the application tells about its keyboard focus.
struct Focus {
  Element application;             // with the capture's messaging timeout
  std::optional<Element> focused;  // the focused element, unless hidden or unknown
  std::optional<Element> window;   // the focused window
  bool searchAllowed = false;      // whether the composer search may run
};

struct Selection {
  std::optional<std::string> text;
  const char* source = "accessibility";  // or "copy"
};

struct Resolved {
  TargetMode mode;
  Element element;  // receives the paste
};

Focus findFocus(const CaptureContext& context, const RunningApp& app,
                const ApplicationTraits& traits, const TargetOptions& options) {
  Platform& platform = context.platform;
  Focus focus;
  focus.application = applicationElement(platform, app.pid, kApplicationTimeout);
  focus.focused = focusedElement(platform, focus.application, app.pid);
  if (traits.composer && (!focus.focused || !isEditable(platform, *focus.focused))) {
    // Chat applications build their full tree only once asked to.
    enableAccessibility(platform, focus.application);
    focus.focused = focusedElement(platform, focus.application, app.pid);
  }
  const bool hidden = context.verifying && traits.hidesFocus;
  if (hidden) focus.focused.reset();
  focus.searchAllowed = options.discover && !hidden;
  focus.window = axElement(attribute(platform, focus.application, "AXFocusedWindow"));
  return focus;
}

// The selection through accessibility, else through the Copy menu when that is allowed.
Selection readSelection(Platform& platform, Pid pid, const Focus& focus,
                        const TargetOptions& options) {
  Selection selection;
  if (!options.includeSelection) return selection;
  std::optional<std::int64_t> length;
  if (focus.focused) {
    selection.text = selectedText(platform, *focus.focused);
    if (selection.text || !options.allowCopy) return selection;
    if (auto range = selectedRange(platform, *focus.focused)) length = range->length;
  } else if (!options.allowCopy) {
    return selection;
  }
  selection.text = copySelection(platform, focus.application, pid, length);
  selection.source = "copy";
  return selection;
}

// The element that receives the paste, and how.
std::optional<Resolved> resolveTarget(Platform& platform, const Focus& focus,
                                      const ApplicationTraits& traits, bool haveText) {
  if (focus.focused && (haveText || !traits.composer)) {
    return Resolved{TargetMode::focused, *focus.focused};
  }
  const auto searchComposer = [&]() -> std::optional<Resolved> {
    if (!focus.searchAllowed || !focus.window) return std::nullopt;
    if (auto composer = findComposer(platform, *focus.window)) {
      return Resolved{TargetMode::composer, *composer};
    }
    return std::nullopt;
  };
  if (focus.focused) {
    if (isEditable(platform, *focus.focused)) return Resolved{TargetMode::composer, *focus.focused};
    return searchComposer();
  }
  if (traits.composer) {
    if (auto composer = searchComposer()) return composer;
  }
  if (focus.window && traits.windowPaste) return Resolved{TargetMode::windowPaste, *focus.window};
  return std::nullopt;
}

// Reports the selection, or that it could not be handed over.
void reportSelection(JsonObject& description, const Selection& selection) {
  if (selection.text && !selection.text->empty()) {
    if (selection.text->size() > kMaxSelectionBytes) {
      description["selection_error"] = true;
    } else {
      description["selection"] = *selection.text;
      description["selection_source"] = selection.source;
    }
    return;
  }
  // The element reports a selected range whose text could not be had.
  if (auto length = readInteger(description, "length"); length && *length > 0) {
    description["selection_error"] = true;
  }
}

// The receiving element's role, identifier, window number and selected range.
void describeElement(Platform& platform, JsonObject& description, const Element& element,
                     const std::optional<Element>& window) {
  description["role"] = stringAttribute(platform, element, "AXRole").value_or("");
  description["identifier"] = stringAttribute(platform, element, "AXIdentifier").value_or("");
  if (window) {
    Value number = attribute(platform, *window, "AXWindowNumber");
    const auto* integer = number.as<std::int64_t>();
    description["window"] = integer != nullptr ? *integer : std::int64_t{0};
  }
  if (auto range = selectedRange(platform, element)) {
    description["offset"] = range->location;
    description["length"] = range->length;
  }
}
}  // namespace

JsonObject target(const CaptureContext& context, const TargetOptions& options) {
  Platform& platform = context.platform;
  const std::optional<RunningApp> app = frontmost(platform);
  if (!app) return JsonObject{};

  const std::string bundle = app->bundleIdentifier.value_or("");
  JsonObject description{{"pid", std::int64_t{app->pid}},
                         {"bundle", bundle},
                         {"name", app->localizedName.value_or("")},
                         {"target_mode", "unavailable"}};
  if (!platform.isProcessTrusted()) {
    description["capture_reason"] = "accessibility_unavailable";
    return description;
  }

  const ApplicationTraits traits = applicationTraits(bundle);
  const Focus focus = findFocus(context, *app, traits, options);
  Selection selection = readSelection(platform, app->pid, focus, options);
  if (selection.text && !focus.focused) {
    // Text without a focused element: report it, but there is nothing to capture.
    if (selection.text->empty()) selection.text.reset();
    reportSelection(description, selection);
    description["capture_reason"] = "focused_element_unavailable";
    return description;
  }
  const std::optional<Resolved> resolved =
      resolveTarget(platform, focus, traits, selection.text.has_value());
  if (!resolved) {
    description["capture_reason"] = "focused_element_unavailable";
    return description;
  }

  description["target_mode"] = targetModeName(resolved->mode);
  if (options.capture) {
    description["captureToken"] =
        context.store.insert(platform, resolved->element, focus.window, resolved->mode);
  }
  describeElement(platform, description, resolved->element, focus.window);
  // A composer's own content is never reported.
  if (options.includeSelection && resolved->mode != TargetMode::composer) {
    reportSelection(description, selection);
  }
  return description;
}

JsonObject targetAction(const CaptureContext& context, const JsonObject& request) {
  const bool selection = readBool(request, "selection").value_or(false);
  return target(context, selection ? kCaptureTarget : kDescribeTarget);
}

}  // namespace textport
