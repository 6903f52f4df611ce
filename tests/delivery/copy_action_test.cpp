#include "delivery/copy_action.h"

#include <gtest/gtest.h>

#include "support/desk.h"

namespace textport {
namespace {

using testing::Desk;
using testing::pasteboardText;

// Rich content before: an image with a private type, then rich text with plain text.
constexpr const char* kRich = R"({"pasteboard_change_count": 7, "pasteboard": [
    [{"type": "public.png", "text": "PNG"}, {"type": "com.example.private", "text": "p"}],
    [{"type": "public.rtf", "text": "{\\rtf1}"}, {"type": "public.utf8-plain-text", "text": "x"}]]})";

TEST(CopyAction, LeavesOnlyOnePlainTextItemHoldingTheTextUnchanged) {
  for (const std::string text : {"line one\nline two\r\n\ttabbed  Grüße 焦点 ✓ ", ""}) {
    Desk desk(kRich);
    EXPECT_EQ(copyAction(desk.session, {{"action", "copy"}, {"text", text}}),
              (JsonObject{{"status", "copied"}}));
    EXPECT_EQ(pasteboardText(desk.sim()), "[public.utf8-plain-text=" + text + ";]");
  }
}

TEST(CopyAction, MissingOrMistypedTextLeavesThePasteboardUntouched) {
  Desk desk(kRich);
  const std::string before = pasteboardText(desk.sim());
  for (const JsonValue& text : {JsonValue(nullptr), JsonValue(12), JsonValue(JsonArray{"a"})}) {
    EXPECT_EQ(copyAction(desk.session, {{"action", "copy"}, {"text", text}}),
              errorAnswer("missing text"));
  }
  EXPECT_EQ(copyAction(desk.session, {{"action", "copy"}}), errorAnswer("missing text"));
  EXPECT_EQ(pasteboardText(desk.sim()), before);
  EXPECT_EQ(desk.sim().changeCount(), 7);
}

}  // namespace
}  // namespace textport
