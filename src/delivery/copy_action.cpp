#include "delivery/copy_action.h"

namespace textport {

namespace {
constexpr const char* kMissingText = "missing text";
}  // namespace

// Replaces the pasteboard's whole content with one plain-text item and leaves it there;
// nothing is saved or restored, and the text goes out exactly as received.
JsonObject copyAction(Session& session, const JsonObject& request) {
  std::optional<std::string> text = readString(request, "text");
  if (!text) return errorAnswer(kMissingText);
  session.platform.clearPasteboard();
  session.platform.setPasteboardString(*text, kPlainTextType);
  return JsonObject{{"status", "copied"}};
}

}  // namespace textport
