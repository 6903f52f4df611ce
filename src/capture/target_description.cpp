#include "capture/target_description.h"

#include <array>
#include <string_view>

#include "accessibility/composer_search.h"
#include "accessibility/copy_selection.h"
#include "accessibility/element_helpers.h"
#include "accessibility/selected_text.h"

namespace textport {

namespace {
constexpr std::string_view kChatBundle = "com.tencent.xinWeChat";
constexpr std::array<std::string_view, 3> kFixtureBundles = {
    "app.tamsel.fixturecomposer", "app.tamsel.fixtureambiguous", "app.tamsel.fixtureopaque"};
constexpr std::string_view kOpaqueFixture = "app.tamsel.fixtureopaque";
constexpr std::size_t kMaxSelectionBytes = 20000;

bool isComposerApplication(std::string_view bundle) {
  if (bundle == kChatBundle) return true;
  for (std::string_view fixture : kFixtureBundles) {
    if (bundle == fixture) return true;
  }
  return false;
}

bool isWindowPasteApplication(std::string_view bundle) {
  return bundle == kChatBundle || bundle == kOpaqueFixture;
}

struct Resolved {
  const char* mode;
  Element element;
};

// Reports the selection, or that it could not be handed over.
void reportSelection(JsonObject& description, const std::optional<std::string>& text,
                     const char* source) {
  if (text && !text->empty()) {
    if (text->size() > kMaxSelectionBytes) {
      description["selection_error"] = true;
    } else {
      description["selection"] = *text;
      description["selection_source"] = source;
    }
    return;
  }
  // The element reports a selected range whose text could not be had.
  if (auto length = readInteger(description, "length"); length && *length > 0) {
    description["selection_error"] = true;
  }
}
}  // namespace

JsonObject target(Session& session, const TargetOptions& options) {
  Platform& platform = session.platform;
  auto app = frontmost(platform);
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

  Element application = applicationElement(platform, app->pid, kApplicationTimeout);
  const bool composerApp = isComposerApplication(bundle);
  std::optional<Element> focused = focusedElement(platform, application, app->pid);
  if (composerApp && (!focused || !isEditable(platform, *focused))) {
    // Chat applications build their full tree only once asked to.
    enableAccessibility(platform, application);
    focused = focusedElement(platform, application, app->pid);
  }
  const bool opaqueFixture = session.verifySelection() && bundle == kOpaqueFixture;
  if (opaqueFixture) focused.reset();
  const bool searchAllowed = options.discover && !opaqueFixture;

  std::optional<Element> window = axElement(attribute(platform, application, "AXFocusedWindow"));

  std::optional<std::string> text;
  const char* source = "accessibility";
  if (options.includeSelection) {
    if (!focused) {
      if (options.allowCopy) {
        text = copySelection(platform, application, app->pid, std::nullopt);
        source = "copy";
      }
    } else {
      text = selectedText(platform, *focused);
      if (!text && options.allowCopy) {
        std::optional<std::int64_t> length;
        if (auto range = selectedRange(platform, *focused)) length = range->length;
        text = copySelection(platform, application, app->pid, length);
        source = "copy";
      }
    }
  }

  auto searchComposer = [&]() -> std::optional<Element> {
    if (!searchAllowed || !window) return std::nullopt;
    return findComposer(platform, *window);
  };
  std::optional<Resolved> resolved;
  if (text && focused) {
    resolved = Resolved{"focused", *focused};
  } else if (text) {
    // Text without a focused element: report it, but there is nothing to capture.
    reportSelection(description, text->empty() ? std::nullopt : text, source);
    description["capture_reason"] = "focused_element_unavailable";
    return description;
  } else if (!composerApp && focused) {
    resolved = Resolved{"focused", *focused};
  } else if (composerApp && focused) {
    if (isEditable(platform, *focused)) {
      resolved = Resolved{"composer", *focused};
    } else if (auto composer = searchComposer()) {
      resolved = Resolved{"composer", *composer};
    }
  } else {
    if (composerApp) {
      if (auto composer = searchComposer()) resolved = Resolved{"composer", *composer};
    }
    if (!resolved && window && isWindowPasteApplication(bundle)) {
      resolved = Resolved{"window_paste", *window};
    }
  }
  if (!resolved) {
    description["capture_reason"] = "focused_element_unavailable";
    return description;
  }

  const std::string_view mode = resolved->mode;
  const Element& element = resolved->element;
  description["target_mode"] = resolved->mode;
  if (options.capture) {
    description["captureToken"] = session.capturedElements.insert(
        platform, element, window, mode == "composer", mode == "window_paste");
  }
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
  if (options.includeSelection && mode != "composer") reportSelection(description, text, source);
  return description;
}

JsonObject targetAction(Session& session, const JsonObject& request) {
  const bool selection = readBool(request, "selection").value_or(false);
  return target(session, TargetOptions{.includeSelection = selection,
                                       .capture = selection,
                                       .allowCopy = true,
                                       .discover = true});
}

}  // namespace textport
