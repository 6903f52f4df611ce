#include <cstdint>
#include <optional>
#include <string>

#include "clipboard/pasteboard_snapshot.h"
#include "diagnostics/diagnostic_messages.h"
#include "diagnostics/diagnostics.h"

namespace textport {

namespace {

// The marker that "begin" writes and "check" looks for: a text and a private type side by side,
// so a driver can tell whether all representations of an item survive.
constexpr const char* kMarkerText = "synthetic-sentinel";
constexpr const char* kMarkerType = "app.tamsel.synthetic";
const Bytes& markerBytes() {
  static const Bytes bytes{0x01, 0x02, 0x03};
  return bytes;
}

JsonObject ok(bool value) {
  return JsonObject{{"ok", value}};
}

}  // namespace

JsonObject probeClipboard(Session& session, const JsonObject& request) {
  if (!session.verifySelection()) return errorAnswer(diagnostic_messages::kDiagnosticOnly);
  Platform& platform = session.platform;
  const std::string mode = readString(request, "mode").value_or("");

  if (mode == "begin") {
    // A second "begin" replaces the first snapshot: what was saved first is gone.
    session.probeClipboard = snapshotPasteboard(platform);
    platform.clearPasteboard();
    platform.setPasteboardString(kMarkerText, kPlainTextType);
    platform.setPasteboardData(markerBytes(), kMarkerType);
    if (readBool(request, "transient") == std::optional<bool>(true)) {
      platform.markPasteboardTransient();
    }
    return ok(true);
  }
  if (mode == "check") {
    if (platform.pasteboardString(kPlainTextType) != std::optional<std::string>(kMarkerText)) {
      return ok(false);
    }
    const std::optional<Bytes> data = platform.pasteboardData(kMarkerType);
    return ok(data && *data == markerBytes());
  }
  if (mode == "restore") {
    if (session.probeClipboard) {
      restore(platform, *session.probeClipboard);
      session.probeClipboard.reset();
    }
    return ok(true);
  }
  return errorAnswer(diagnostic_messages::kInvalidProbe);
}

}  // namespace textport
