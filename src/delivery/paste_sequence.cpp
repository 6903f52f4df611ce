#include "delivery/paste_sequence.h"

#include <cstdint>
#include <optional>

#include "accessibility/element_helpers.h"
#include "capture/activity_counters.h"
#include "capture/target_comparison.h"
#include "capture/target_description.h"
#include "clipboard/pasteboard_snapshot.h"
#include "delivery/delivery_messages.h"

namespace textport {

namespace {

namespace msg = delivery_messages;

constexpr std::uint16_t kVirtualKeyV = 9;  // kVK_ANSI_V
// The receiving application reads the pasteboard in its own time after Command-V; this is how
// long the staged text stays there before the user's content comes back.
constexpr double kPasteWait = 0.35;

// The last look before the keystroke: the same application, the same receiving element and,
// for conversations, no new user activity. Nothing when the paste may go out.
std::optional<const char*> finalCheck(Session& session, const PasteJob& job) {
  Platform& platform = session.platform;
  const std::optional<RunningApp> front = frontmost(platform);
  if (!front || front->pid != job.pid) return msg::kFocusChanged;

  const std::optional<Element> receiving =
      job.record.windowPaste ? axElement(attribute(platform, job.application, "AXFocusedWindow"))
                             : focusedElement(platform, job.application, job.pid);
  if (!receiving || !(*receiving == job.record.element)) return msg::kFocusChanged;

  if (job.record.composer || job.record.windowPaste) {
    if (mouseCount(platform) != job.record.mouseCount) return msg::kInteractionChanged;
    if (static_cast<std::uint32_t>(keyCount(platform) - job.record.keyCount) !=
        job.allowedKeyEvents) {
      return msg::kInteractionChanged;
    }
    return std::nullopt;
  }
  // A focused record: the caret or the field may have moved since the verification. No
  // selection is read, so nothing is copied here.
  TargetOptions options;
  options.includeSelection = false;
  options.capture = false;
  options.allowCopy = true;
  options.discover = false;
  if (!sameTarget(job.presented, target(session, options))) return msg::kFocusChanged;
  return std::nullopt;
}

}  // namespace

JsonObject pasteSequence(Session& session, const PasteJob& job) {
  Platform& platform = session.platform;

  const PasteboardSnapshot saved = snapshotPasteboard(platform);
  platform.clearPasteboard();
  platform.setPasteboardString(job.text, kPlainTextType);
  const std::int64_t staged = platform.pasteboardChangeCount();

  // A different change count means somebody wrote after the staging; their content wins.
  const auto restoreUnlessOverwritten = [&] {
    if (platform.pasteboardChangeCount() == staged) restore(platform, saved);
  };

  if (auto exit = finalCheck(session, job)) {
    restoreUnlessOverwritten();
    return errorAnswer(*exit);
  }

  // From the final check to the posting nothing but the events' creation lies in between.
  const EventSource source = platform.createEventSource();
  const Event down = platform.createKeyboardEvent(source, kVirtualKeyV, true);
  const Event up = down ? platform.createKeyboardEvent(source, kVirtualKeyV, false) : Event{};
  if (!down || !up) {
    // No keystroke went out, so the staged text is ours alone to take back.
    restore(platform, saved);
    return errorAnswer(msg::kEventCreationFailed);
  }
  // Replacing the whole flag word drops any modifier the user happens to hold.
  platform.setEventFlags(down, kEventFlagMaskCommand);
  platform.setEventFlags(up, kEventFlagMaskCommand);
  platform.postEvent(down);
  platform.postEvent(up);

  platform.sleep(kPasteWait);
  restoreUnlessOverwritten();
  return JsonObject{{"status", msg::kPasteSent}};
}

}  // namespace textport
