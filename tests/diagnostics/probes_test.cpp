// The clipboard probe's three modes and the copy probe.
#include <gtest/gtest.h>

#include <string>

#include "diagnostics/diagnostics.h"
#include "support/desk.h"

namespace textport {
namespace {

using testing::Desk;
using testing::pasteboardText;

const std::vector<std::string> kVerify = {"textport", "--verify-selection"};

std::string world(const std::string& pasteboard) {
  return R"({"frontmost": 501, "pasteboard": )" + pasteboard + R"(, "apps": [
    {"pid": 501, "bundle": "com.example.editor", "name": "Editor", "focused": "field",
     "copy": {"writes": "selection"},
     "tree": {"children": [{"id": "w", "role": "AXWindow", "children": [
       {"id": "field", "role": "AXTextArea", "value": "abc", "selected_range": [0, 0]}]}]},
     "menu_bar": {"id": "bar", "children": [{"id": "edit", "role": "AXMenuBarItem", "children": [
       {"id": "menu", "role": "AXMenu", "children": [
         {"id": "copy", "role": "AXMenuItem", "cmd_char": "C", "cmd_modifiers": 0, "enabled": true,
          "copies": true}]}]}]}}]})";
}
constexpr const char* kUserPasteboard =
    R"([[{"type": "public.utf8-plain-text", "text": "mine"}, {"type": "public.png", "hex": "00ff"}],
        [{"type": "com.example.private", "hex": "0102"}]])";

JsonObject probe(Desk& desk, JsonValue mode) {
  return probeClipboard(desk.session,
                        JsonObject{{"action", "probe_clipboard"}, {"mode", std::move(mode)}});
}
const JsonObject kOk{{"ok", true}};
const JsonObject kNotOk{{"ok", false}};

TEST(ProbeClipboard, BeginCheckRestoreBringsTheUsersItemsBack) {
  for (const char* pasteboard : {kUserPasteboard, "[]"}) {
    Desk desk(world(pasteboard), kVerify);
    const std::string before = pasteboardText(desk.sim());
    EXPECT_EQ(probe(desk, "begin"), kOk);
    EXPECT_EQ(pasteboardText(desk.sim()),
              "[public.utf8-plain-text=synthetic-sentinel;app.tamsel.synthetic=\x01\x02\x03;]");
    EXPECT_EQ(probe(desk, "check"), kOk);
    EXPECT_EQ(probe(desk, "restore"), kOk);
    EXPECT_EQ(pasteboardText(desk.sim()), before);
    // Nothing is saved any more: a second restore leaves the pasteboard alone.
    const auto writes = desk.sim().record().writesBy("textport");
    EXPECT_EQ(probe(desk, "restore"), kOk);
    EXPECT_EQ(desk.sim().record().writesBy("textport"), writes);
  }
}

TEST(ProbeClipboard, CheckWantsTheWholeMarker) {
  const struct {
    const char* rule;
    const char* pasteboard;
    JsonObject answer;
  } cases[] = {
      {"the complete marker",
       R"([[{"type": "public.utf8-plain-text", "text": "synthetic-sentinel"}, {"type": "app.tamsel.synthetic", "hex": "010203"}]])",
       kOk},
      {"the private type missing",
       R"([[{"type": "public.utf8-plain-text", "text": "synthetic-sentinel"}]])", kNotOk},
      {"the bytes cut short",
       R"([[{"type": "public.utf8-plain-text", "text": "synthetic-sentinel"}, {"type": "app.tamsel.synthetic", "hex": "0102"}]])",
       kNotOk},
      {"a byte too many",
       R"([[{"type": "public.utf8-plain-text", "text": "synthetic-sentinel"}, {"type": "app.tamsel.synthetic", "hex": "01020304"}]])",
       kNotOk},
      {"another text",
       R"([[{"type": "public.utf8-plain-text", "text": "synthetic-sentinel "}, {"type": "app.tamsel.synthetic", "hex": "010203"}]])",
       kNotOk},
      {"the marker in a second item only",
       R"([[{"type": "public.png", "hex": "00"}], [{"type": "public.utf8-plain-text", "text": "synthetic-sentinel"}, {"type": "app.tamsel.synthetic", "hex": "010203"}]])",
       kNotOk},
      {"an empty pasteboard", "[]", kNotOk},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rule);
    Desk desk(world(c.pasteboard), kVerify);
    EXPECT_EQ(probe(desk, "check"), c.answer);
    EXPECT_EQ(desk.sim().record().writesBy("textport"), 0u);
  }
}

TEST(ProbeClipboard, ASecondBeginReplacesWhatWasSaved) {
  Desk desk(world(kUserPasteboard), kVerify);
  probe(desk, "begin");
  const std::string marker = pasteboardText(desk.sim());
  probe(desk, "begin");
  probe(desk, "restore");
  EXPECT_EQ(pasteboardText(desk.sim()), marker);
}

TEST(ProbeClipboard, RefusesUnknownModesAndRunsOnlyWithTheFlag) {
  for (const JsonValue& mode :
       {JsonValue("Begin"), JsonValue(""), JsonValue(1), JsonValue(nullptr)}) {
    Desk desk(world(kUserPasteboard), kVerify);
    EXPECT_EQ(probe(desk, mode), errorAnswer("Invalid probe"));
  }
  Desk desk(world(kUserPasteboard));
  EXPECT_EQ(probe(desk, "begin"), errorAnswer("Diagnostic only"));
  EXPECT_EQ(probeCopySelection(desk.session, {{"action", "probe_copy_selection"}}),
            errorAnswer("Diagnostic only"));
  EXPECT_EQ(desk.sim().record().writesBy("textport"), 0u);
  EXPECT_TRUE(desk.sim().record().requests.empty());
}

TEST(ProbeCopySelection, CopiesTheFrontmostSelectionUnlessItIsKnownEmpty) {
  const JsonObject request{{"action", "probe_copy_selection"}};
  {
    Desk desk(world(kUserPasteboard), kVerify);
    // An empty selection: the copy gives up before touching the pasteboard.
    EXPECT_EQ(probeCopySelection(desk.session, request), (JsonObject{{"pid", 501}, {"text", ""}}));
    EXPECT_EQ(desk.sim().record().writesBy("textport"), 0u);
    EXPECT_EQ(desk.sim().record().writesBy("app_copy"), 0u);
  }
  {
    Desk desk(world(kUserPasteboard), kVerify);
    ASSERT_FALSE(desk.sim().schedule(R"({"select": {"element": "field", "range": [1, 2]}})"));
    const std::string before = pasteboardText(desk.sim());
    EXPECT_EQ(probeCopySelection(desk.session, request),
              (JsonObject{{"pid", 501}, {"text", "bc"}}));
    EXPECT_EQ(pasteboardText(desk.sim()), before);
  }
  {
    Desk desk(R"({"frontmost": null})", kVerify);
    EXPECT_EQ(probeCopySelection(desk.session, request), errorAnswer("No fixture"));
  }
}

}  // namespace
}  // namespace textport
