#include "delivery/paste_sequence.h"

#include <cstdint>
#include <optional>

#include "accessibility/element_helpers.h"
#include "capture/activity_counters.h"
#include "capture/target_comparison.h"
#include "capture/target_description.h"
#include "clipboard/pasteboard_snapshot.h"
#include "delivery/delivery_messages.h"
#include "delivery/restore_after_read.h"

namespace textport {

namespace {

namespace msg = delivery_messages;

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
      job.record.mode == TargetMode::windowPaste
          ? axElement(attribute(platform, job.application, "AXFocusedWindow"))
          : focusedElement(platform, job.application, job.pid);
  if (!receiving || !(*receiving == job.record.element)) return msg::kFocusChanged;

  if (job.record.conversation()) {
    if (!onlyExpectedActivity(platform, job.record.activity, job.allowedKeyEvents)) {
      return msg::kInteractionChanged;
    }
    return std::nullopt;
  }
  // A focused record: the caret or the field may have moved since the verification. No
  // selection is read, so nothing is copied here.
  if (!sameTarget(job.presented, target(session.capture(), kLocateTarget))) {
    return msg::kFocusChanged;
  }
  return std::nullopt;
}

}  // namespace

JsonObject pasteSequence(Session& session, const PasteJob& job) {
  Platform& platform = session.platform;

  const PasteboardSnapshot saved = snapshotPasteboard(platform);
  platform.clearPasteboard();
  if (job.restoreAfterRead) {
    platform.setWatchedPasteboardString(job.text);
  } else {
    platform.setPasteboardString(job.text, kPlainTextType);
  }
  if (job.transient) platform.markPasteboardTransient();
  const std::int64_t staged = platform.pasteboardChangeCount();

  // A different change count means somebody wrote after the staging; their content wins.
  const auto restoreUnlessOverwritten = [&] {
    if (platform.pasteboardChangeCount() == staged) restore(platform, saved);
  };

  if (auto exit = finalCheck(session, job)) {
    restoreUnlessOverwritten();
    return errorAnswer(*exit);
  }

  // Nothing but counting the reads so far lies between the final check and the keystroke.
  const std::uint64_t readsAtKeystroke = job.restoreAfterRead ? platform.watchedTextReads() : 0;
  if (!platform.postPasteShortcut()) {
    // No keystroke went out, so the staged text is ours alone to take back.
    restore(platform, saved);
    return errorAnswer(msg::kEventCreationFailed);
  }

  if (!job.restoreAfterRead) {
    platform.sleep(kPasteWait);
    restoreUnlessOverwritten();
    return JsonObject{{"status", msg::kPasteSent}};
  }
  const bool read = waitForRead(platform, readsAtKeystroke, staged);
  restoreUnlessOverwritten();
  return JsonObject{{"read", read}, {"status", msg::kPasteSent}};
}

}  // namespace textport
