#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "accessibility/composer_search.h"
#include "accessibility/element_helpers.h"
#include "capture/process_id.h"
#include "capture/target_description.h"
#include "diagnostics/diagnostic_messages.h"
#include "diagnostics/diagnostics.h"

namespace textport {

namespace {

constexpr float kInspectedAppTimeout = 0.2f;
constexpr float kWalkElementTimeout = 0.05f;
// Time for the application to build its accessibility tree after it was switched on.
constexpr double kEnablePause = 0.15;
constexpr std::size_t kMaxNodes = 100;

std::string roleOf(Platform& platform, const std::optional<Element>& element) {
  if (!element) return "";
  return stringAttribute(platform, *element, "AXRole").value_or("");
}

// The focused window breadth-first, at most kMaxNodes elements. There is no depth limit and no
// check for repeats: an element listed twice as a child is listed twice.
JsonArray walk(Platform& platform, const Element& window) {
  JsonArray nodes;
  std::deque<Element> queue{window};
  while (!queue.empty() && nodes.size() < kMaxNodes) {
    const Element element = queue.front();
    queue.pop_front();
    platform.setMessagingTimeout(element, kWalkElementTimeout);
    JsonObject node{{"role", roleOf(platform, element)}};
    if (auto rect = elementRect(platform, element)) {
      node["rect"] = JsonArray{rect->origin.x, rect->origin.y, rect->size.width, rect->size.height};
    }
    if (auto list = children(platform, element)) {
      queue.insert(queue.end(), list->begin(), list->end());
      node["children"] = static_cast<std::int64_t>(list->size());
    }
    nodes.emplace_back(std::move(node));
  }
  return nodes;
}

}  // namespace

JsonObject inspectApp(Session& session, const JsonObject& request) {
  namespace msg = diagnostic_messages;
  if (!session.verifySelection()) return errorAnswer(msg::kDiagnosticOnly);
  const std::optional<Pid> requested = toPid(readInteger(request, "pid"));
  if (!requested) return errorAnswer(msg::kDiagnosticOnly);
  const Pid pid = *requested;
  Platform& platform = session.platform;

  const Element application = applicationElement(platform, pid, kInspectedAppTimeout);
  const std::optional<Element> before = focusedElement(platform, application, pid);
  // The second call shows what switching on does once the first has already been made.
  enableAccessibility(platform, application);
  const std::map<std::string, AXError> enabled = enableAccessibility(platform, application);
  platform.sleep(kEnablePause);
  const std::optional<Element> after = focusedElement(platform, application, pid);
  const std::optional<Element> window =
      axElement(attribute(platform, application, "AXFocusedWindow"));

  bool composer = false;
  JsonArray nodes;
  if (window) {
    composer = findComposer(platform, *window).has_value();
    nodes = walk(platform, *window);
  }

  std::string targetMode;
  if (auto front = frontmost(platform); front && front->pid == pid) {
    targetMode = readString(target(session.capture(), kDescribeTarget), "target_mode").value_or("");
  }

  JsonObject enableResults;
  for (const auto& [name, code] : enabled) enableResults[name] = static_cast<std::int64_t>(code);

  const bool trusted = platform.isProcessTrusted();
  // Read last, so the roles show the elements as they are after the walk.
  return JsonObject{
      {"trusted", trusted},
      {"before_role", roleOf(platform, before)},
      {"after_role", roleOf(platform, after)},
      {"enable_results", std::move(enableResults)},
      {"window", window.has_value()},
      {"composer", composer},
      {"target_mode", std::move(targetMode)},
      {"nodes", std::move(nodes)},
  };
}

}  // namespace textport
