#include "delivery/copy_action.h"

#include <gtest/gtest.h>

#include "platform/sim/sim_desktop.h"

namespace textport {
namespace {

Bytes bytes(std::string_view s) {
  return Bytes(s.begin(), s.end());
}

// The pasteboard as (type, data) pairs per item.
using Contents = std::vector<std::vector<std::pair<std::string, std::optional<Bytes>>>>;

class CopyAction : public ::testing::Test {
 protected:
  // Rich content before: an image with a private type, and rich text with plain text.
  CopyAction() {
    desktop.pasteboard().load({{{"public.png", bytes("PNG")}, {"com.example.private", bytes("p")}},
                               {{"public.rtf", bytes("{\\rtf1}")}, {kPlainTextType, bytes("x")}}},
                              7);
  }
  Contents contents() const {
    Contents result;
    for (const auto& item : desktop.pasteboardContents()) {
      auto& pairs = result.emplace_back();
      for (const auto& r : item) pairs.emplace_back(r.type, r.data);
    }
    return result;
  }
  sim::SimDesktop desktop;
  Session session{desktop, {"textport"}};
};

TEST_F(CopyAction, LeavesOnlyOnePlainTextItemHoldingTheTextUnchanged) {
  for (const std::string text : {"line one\nline two\r\n\ttabbed  Grüße 焦点 ✓ ", ""}) {
    EXPECT_EQ(copyAction(session, {{"action", "copy"}, {"text", text}}),
              (JsonObject{{"status", "copied"}}));
    EXPECT_EQ(contents(), (Contents{{{kPlainTextType, bytes(text)}}}));
  }
}

TEST_F(CopyAction, MissingOrMistypedTextLeavesThePasteboardUntouched) {
  const Contents before = contents();
  for (const JsonValue& text : {JsonValue(nullptr), JsonValue(12), JsonValue(JsonArray{"a"})}) {
    EXPECT_EQ(copyAction(session, {{"action", "copy"}, {"text", text}}),
              errorAnswer("missing text"));
  }
  EXPECT_EQ(copyAction(session, {{"action", "copy"}}), errorAnswer("missing text"));
  EXPECT_EQ(contents(), before);
  EXPECT_EQ(desktop.changeCount(), 7);
}

}  // namespace
}  // namespace textport
