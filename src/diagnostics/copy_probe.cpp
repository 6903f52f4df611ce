#include <cstdint>
#include <optional>
#include <string>

#include "accessibility/copy_selection.h"
#include "accessibility/element_helpers.h"
#include "capture/process_id.h"
#include "capture/target_description.h"
#include "diagnostics/diagnostic_messages.h"
#include "diagnostics/diagnostics.h"

namespace textport {

JsonObject probeCopySelection(Session& session, const JsonObject& /*request*/) {
  namespace msg = diagnostic_messages;
  if (!session.verifySelection()) return errorAnswer(msg::kDiagnosticOnly);
  Platform& platform = session.platform;

  const JsonObject description = target(session.capture(), kDescribeTarget);
  const std::optional<Pid> pid = toPid(readInteger(description, "pid"));
  if (!pid) return errorAnswer(msg::kNoFixture);

  const Element application = applicationElement(platform, *pid, kApplicationTimeout);
  // A known empty selection lets the copy give up before it touches the pasteboard.
  const std::optional<std::string> text =
      copySelection(platform, application, *pid, readInteger(description, "length"));
  return JsonObject{{"text", text.value_or("")}, {"pid", std::int64_t{*pid}}};
}

}  // namespace textport
