#include "delivery/copy_action.h"

#include <gtest/gtest.h>

#include "platform/sim/sim_desktop.h"

namespace textport {
namespace {

Bytes bytes(std::string_view s) { return Bytes(s.begin(), s.end()); }

// The pasteboard as (type, data) pairs per item, for comparing.
using Contents = std::vector<std::vector<std::pair<std::string, std::optional<Bytes>>>>;
Contents contents(const sim::SimDesktop& desktop) {
  Contents result;
  for (const auto& item : desktop.pasteboardContents()) {
    auto& pairs = result.emplace_back();
    for (const auto& representation : item) pairs.emplace_back(representation.type, representation.data);
  }
  return result;
}

// A pasteboard with rich content in two items: an image with a private type, and rich text.
class CopyAction : public ::testing::Test {
 protected:
  CopyAction() {
    desktop.pasteboard().load(
        {{{"public.png", bytes("PNG")}, {"com.example.private", bytes("p")}},
         {{"public.rtf", bytes("{\\rtf1 x}")}, {kPlainTextType, bytes("x")}}},
        7);
  }
  sim::SimDesktop desktop;
  Session session{desktop, {"textport"}};
};

TEST_F(CopyAction, LeavesOnlyOnePlainTextItemHoldingTheTextUnchanged) {
  for (const std::string text : {"line one\nline two\r\n\ttabbed  Grüße 焦点 ✓ ", ""}) {
    EXPECT_EQ(copyAction(session, {{"action", "copy"}, {"text", text}}),
              (JsonObject{{"status", "copied"}}));
    EXPECT_EQ(contents(desktop), (Contents{{{kPlainTextType, bytes(text)}}}));
    EXPECT_EQ(desktop.pasteboardString(kPlainTextType), text);
  }
}

TEST_F(CopyAction, MissingOrMistypedTextLeavesThePasteboardUntouched) {
  const Contents before = contents(desktop);
  for (const JsonObject& request :
       {JsonObject{{"action", "copy"}}, JsonObject{{"action", "copy"}, {"text", nullptr}},
        JsonObject{{"action", "copy"}, {"text", 12}},
        JsonObject{{"action", "copy"}, {"text", JsonArray{"a"}}}}) {
    EXPECT_EQ(copyAction(session, request), errorAnswer("missing text"));
  }
  EXPECT_EQ(contents(desktop), before);
  EXPECT_EQ(desktop.changeCount(), 7);
}

}  // namespace
}  // namespace textport
