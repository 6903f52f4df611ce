#include "delivery/deliver.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "accessibility/element_helpers.h"
#include "capture/activity_counters.h"
#include "capture/process_id.h"
#include "capture/target_comparison.h"
#include "capture/target_description.h"
#include "delivery/delivery_messages.h"
#include "delivery/paste_sequence.h"
#include "json/unicode_equivalence.h"

namespace textport {

namespace {

namespace msg = delivery_messages;

// How long the chat application gets to move its keyboard focus into the composer.
constexpr double kComposerFocusPause = 0.04;

// The number of key presses the parent expects since the capture, clamped into the range of the
// 32-bit key counter: missing or mistyped is 0, negative is 0, anything larger is the maximum.
std::uint32_t allowedKeyEvents(const JsonObject& request) {
  const std::int64_t value = readInteger(request, "allowed_key_events").value_or(0);
  if (value < 0) return 0;
  constexpr std::int64_t kMax = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(value > kMax ? kMax : value);
}

// The composer and window-paste checks: no click, exactly the expected key presses, the same
// focused window; then the composer gets the keyboard focus. Nothing when they all pass.
std::optional<const char*> checkConversation(Platform& platform, const Element& application,
                                             const CapturedTarget& record, std::uint32_t allowed) {
  if (!onlyExpectedActivity(platform, record.activity, allowed)) {
    return msg::kConversationContextChanged;
  }
  if (!record.window) return msg::kConversationContextChanged;
  auto window = axElement(attribute(platform, application, "AXFocusedWindow"));
  if (!window || !(*window == *record.window)) return msg::kConversationContextChanged;
  if (record.mode == TargetMode::composer) {
    // The focus stays in the composer even when a later check refuses.
    if (platform.setAttributeValue(record.element, "AXFocused", Value{true}) != kAXErrorSuccess) {
      return msg::kCannotFocusComposer;
    }
    platform.sleep(kComposerFocusPause);
  }
  return std::nullopt;
}

// The focused and composer checks on a fresh description of the same application.
std::optional<const char*> checkFreshTarget(Session& session, const CapturedTarget& record,
                                            const JsonObject& presented) {
  // Copying again is allowed only when the selection was copied at capture too: otherwise a
  // selection that accessibility could read would now be compared with a copied one.
  const bool copiedAtCapture =
      readString(presented, "selection_source") == std::optional<std::string>("copy");
  const JsonObject fresh = target(session.capture(), recheckTarget(copiedAtCapture));

  if (record.mode == TargetMode::composer) {
    // Pasting would replace whatever is selected in the composer.
    if (readString(fresh, "selection")) return msg::kReviewSelectedInput;
    if (readInteger(fresh, "length").value_or(0) != 0) return msg::kReviewSelectedInput;
    return std::nullopt;
  }
  if (!sameTarget(presented, fresh)) return msg::kTargetChanged;
  const std::string before = readString(presented, "selection").value_or("");
  const std::string now = readString(fresh, "selection").value_or("");
  if (!canonicallyEqual(before, now)) return msg::kTargetChanged;
  return std::nullopt;
}

}  // namespace

JsonObject deliver(Session& session, const JsonObject& request) {
  Platform& platform = session.platform;
  // Without the permission to post events the keystroke would be dropped without a word, and
  // "paste_sent" would be a claim the system did not keep.
  if (!platform.isProcessTrusted() || !platform.mayPostEvents()) {
    return errorAnswer(msg::kAccessibilityRequired);
  }

  const JsonObject* presented = readObject(request, "target");
  const std::optional<std::string> text = readString(request, "text");
  if (presented == nullptr || !text) return errorAnswer(msg::kMissingTarget);

  const std::optional<std::int64_t> pid = readInteger(*presented, "pid");
  const std::optional<std::string> token = readString(*presented, "captureToken");
  if (!pid || !token) return errorAnswer(msg::kInputFieldUnavailable);

  // From here on the token is spent, whatever the outcome.
  const std::optional<CapturedTarget> record = session.capturedElements.take(*token);
  if (!record) return errorAnswer(msg::kOriginalTargetExpired);

  // A pid beyond 32 bits names no process, so it cannot be the frontmost application.
  const std::optional<Pid> targetPid = toPid(pid);
  if (!targetPid) return errorAnswer(msg::kActiveApplicationChanged);
  const std::optional<RunningApp> front = frontmost(platform);
  if (!front || front->pid != *targetPid) return errorAnswer(msg::kActiveApplicationChanged);

  const Element application = applicationElement(platform, *targetPid, kApplicationTimeout);
  const std::uint32_t allowed = allowedKeyEvents(request);
  PasteJob job{*text, *targetPid, application, *record, *presented, allowed};
  job.restoreAfterRead = readBool(request, "restore_after_read") == std::optional<bool>(true);
  job.transient = readBool(request, "transient") == std::optional<bool>(true);

  if (record->conversation()) {
    if (auto refusal = checkConversation(platform, application, *record, allowed)) {
      return errorAnswer(*refusal);
    }
    // The window is the receiving element and was just compared.
    if (record->mode == TargetMode::windowPaste) return pasteSequence(session, job);
  }

  auto focused = focusedElement(platform, application, *targetPid);
  if (!focused || !(*focused == record->element)) return errorAnswer(msg::kInputFieldChanged);

  if (auto refusal = checkFreshTarget(session, *record, *presented)) return errorAnswer(*refusal);
  return pasteSequence(session, job);
}

}  // namespace textport
