#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "accessibility/copy_selection.h"
#include "accessibility/element_helpers.h"
#include "capture/target_description.h"
#include "diagnostics/diagnostic_messages.h"
#include "diagnostics/diagnostics.h"

namespace textport {

JsonObject probeCopySelection(Session& session, const JsonObject& /*request*/) {
  namespace msg = diagnostic_messages;
  if (!session.verifySelection()) return errorAnswer(msg::kDiagnosticOnly);
  Platform& platform = session.platform;

  TargetOptions options;
  options.includeSelection = false;
  options.capture = false;
  options.allowCopy = true;
  options.discover = true;
  const JsonObject description = target(session, options);
  const std::optional<std::int64_t> pid = readInteger(description, "pid");
  if (!pid || *pid < std::numeric_limits<Pid>::min() || *pid > std::numeric_limits<Pid>::max()) {
    return errorAnswer(msg::kNoFixture);
  }

  const Element application =
      applicationElement(platform, static_cast<Pid>(*pid), kApplicationTimeout);
  // A known empty selection lets the copy give up before it touches the pasteboard.
  const std::optional<std::string> text = copySelection(
      platform, application, static_cast<Pid>(*pid), readInteger(description, "length"));
  return JsonObject{{"text", text.value_or("")}, {"pid", *pid}};
}

}  // namespace textport
