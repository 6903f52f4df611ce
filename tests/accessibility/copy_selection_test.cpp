// Copying the selection through the Copy menu item: the text comes back, and so does the
// user's pasteboard, unless someone newer wrote to it. Which menu item is the Copy item is shown
// by a copy-probe scenario.
#include "accessibility/copy_selection.h"

#include <gtest/gtest.h>

#include "accessibility/element_helpers.h"
#include "support/desk.h"

namespace textport {
namespace {

using testing::Desk;
using testing::pasteboardText;

constexpr Pid kTerminal = 503;

const std::string kCopyRoute = testing::worldFile("copy_route.json");

std::optional<std::string> copyFrom(Desk& desk, std::optional<std::int64_t> length = {}) {
  Element application = applicationElement(desk.sim(), kTerminal, kApplicationTimeout);
  return copySelection(desk.sim(), application, kTerminal, length);
}

// A pasteboard of more than 10 MiB cannot be saved, so nothing is copied over it.
TEST(CopySelection, ReturnsTheCopiedTextAndRestoresEveryItemAndTypeOfUpToTenMebibytes) {
  const sim::SimItem text = {{"public.utf8-plain-text", Bytes{'h', 'i'}},
                             {"public.png", Bytes{0, 0xff}}};
  const sim::SimItem binary = {{"com.example.private", Bytes{0, 1, 2}}};
  const sim::SimItem promised = {{"com.example.promised", std::nullopt}};
  const auto ofSize = [](std::size_t size) {
    return sim::SimItem{{"public.data", Bytes(size - 1, 7)}, {kPlainTextType, Bytes{'x'}}};
  };
  const sim::SimItem atLimit = ofSize(kMaxSavedPasteboardBytes);
  const sim::SimItem overLimit = ofSize(kMaxSavedPasteboardBytes + 1);
  struct Case {
    std::vector<sim::SimItem> before, after;
    std::optional<std::string> text = "copied text";
  };
  const Case cases[] = {
      {{}, {}},  // an empty pasteboard is empty again
      {{text, binary}, {text, binary}},
      // A type that gives no data is left out; its item still comes back, empty.
      {{promised, binary}, {{}, binary}},
      {{atLimit}, {atLimit}},
      {{overLimit}, {overLimit}, std::nullopt},
  };
  for (const Case& c : cases) {
    Desk desk(kCopyRoute);
    desk.sim().pasteboard().load(c.before, 100);
    EXPECT_EQ(copyFrom(desk), c.text);
    EXPECT_EQ(desk.sim().record().count("action", "AXPress"), c.text ? 1u : 0u);
    EXPECT_TRUE(desk.sim().pasteboardContents() == c.after) << pasteboardText(desk.sim()).size();
  }
}

TEST(CopySelection, ANewerClipboardWriteIsNeverOverwritten) {
  // A first run finds when the copy is restored; the second lets another program write just
  // before that moment, after the copy has arrived.
  Desk probe(kCopyRoute);
  probe.sim().world().system.latency = 0.01;
  copyFrom(probe);
  const auto& writes = probe.sim().record().pasteboardWrites;
  ASSERT_FALSE(writes.empty());
  const double restoredAt = writes.back().time;

  Desk desk(kCopyRoute);
  desk.sim().world().system.latency = 0.01;
  ASSERT_FALSE(desk.sim().schedule(
      R"({"at": )" + std::to_string(restoredAt - 0.005) +
      R"(, "pasteboard": [[{"type": "public.utf8-plain-text", "text": "newer"}]]})"));
  EXPECT_EQ(copyFrom(desk), "copied text");
  EXPECT_EQ(pasteboardText(desk.sim()), "[public.utf8-plain-text=newer;]");
  EXPECT_EQ(desk.sim().record().writesBy("textport"), 0u);
}

// Whatever the press brings back, or when there is no press, the user's pasteboard is as it was;
// it is written back only when the application wrote to it.
TEST(CopySelection, GivesOnlyCopiedTextAndLeavesThePasteboardAsItWas) {
  struct Case {
    const char* behaviour;
    const char* copy;     // what pressing Copy does instead of writing the selection, or null
    const char* happens;  // a timeline entry, or null
    std::optional<std::string> text;
    std::size_t presses;
    bool restores;
    std::int64_t length = -1;  // the selected range's length, -1 when unknown
    bool waitsOut = false;  // waits the whole 0.65 s; the last poll may overrun by one 15 ms step
  };
  const std::optional<std::string> none;
  const Case cases[] = {
      {"only an image", R"("writes": "image")", nullptr, none, 1, true},
      {"the user switched application", nullptr, R"({"at": 0.05, "frontmost": 9})", none, 1, true},
      {"an empty text is text", R"("writes": "text", "text": "")", nullptr, "", 1, true},
      {"an empty selection", nullptr, nullptr, none, 0, false, 0},
      {"another application in front", nullptr, R"({"frontmost": 9})", none, 0, false},
      {"the press fails", R"("press_error": -25204)", nullptr, none, 1, false},
      {"the application never writes", R"("writes": "nothing")", nullptr, none, 1, false, -1, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.behaviour);
    std::string world = kCopyRoute;
    world.replace(world.rfind(']'), 1, R"(, {"pid": 9, "bundle": "com.example.other"}])");
    if (c.copy) world.replace(world.find(R"("writes": "selection")"), 21, c.copy);
    Desk desk(world);
    EXPECT_FALSE(c.happens && desk.sim().schedule(c.happens));
    const std::string before = pasteboardText(desk.sim());
    EXPECT_EQ(copyFrom(desk, c.length < 0 ? std::nullopt : std::optional(c.length)), c.text);
    EXPECT_EQ(pasteboardText(desk.sim()), before);
    EXPECT_EQ(desk.sim().record().count("action", "AXPress"), c.presses);
    EXPECT_EQ(desk.sim().record().writesBy("textport") > 0, c.restores);
    EXPECT_TRUE(c.length != 0 || desk.sim().record().requests.empty()) << "asked for nothing";
    if (c.waitsOut) {
      double slept = 0;
      for (const auto& wait : desk.sim().record().waits) slept += wait.runLoop ? 0 : wait.seconds;
      EXPECT_GE(slept, 0.65 - 1e-9);
      EXPECT_LE(slept, 0.65 + 0.015 + 1e-9);
    }
  }
}

}  // namespace
}  // namespace textport
