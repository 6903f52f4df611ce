// The rest of the simulated desktop: virtual time, the pasteboard, input
// counters, the applications' Copy and Command-V behaviours and the timeline.
// The UUID sequence, the state file and an application reading the pasteboard
// late are proven by the scenario files.
#include <gtest/gtest.h>

#include "sim_fixture.h"

namespace textport::sim {
namespace {

using namespace testing;

void commandV(SimDesktop& sim) {
  const EventSource source = sim.createEventSource();
  for (bool down : {true, false}) {
    const Event event = sim.createKeyboardEvent(source, 9, down);
    sim.setEventFlags(event, kEventFlagMaskCommand);
    sim.postEvent(event);
  }
}

TEST(SimTime, SleepsAndRunLoopTurnsMoveOnlyVirtualTimeAndAreRecorded) {
  SimDesktop sim;
  sim.sleep(0.65);
  sim.runLoop(0.005);
  sim.sleep(-1);  // a negative wait does not turn time back
  EXPECT_DOUBLE_EQ(sim.now(), 0.655);
  ASSERT_EQ(sim.record().waits.size(), 3u);
  EXPECT_TRUE(sim.record().waits[1].runLoop);
  EXPECT_DOUBLE_EQ(sim.record().waits[1].time, 0.65);
}

TEST(SimPasteboard, EveryChangeRaisesTheCountAndStringsGoToTheFirstItem) {
  SimDesktop sim;
  EXPECT_FALSE(sim.pasteboardString(kPlainTextType));
  EXPECT_EQ(sim.clearPasteboard(), 1);
  sim.setPasteboardString("text", kPlainTextType);  // creates the first item
  sim.setPasteboardData({'1'}, "png");              // joins it
  sim.writePasteboardItems({{{"a", {'3'}}}, {{"b", {'4'}}}});
  EXPECT_EQ(sim.pasteboardChangeCount(), 4);
  EXPECT_EQ(pasteboardText(sim), "[public.utf8-plain-text=text;png=1;][a=3;][b=4;]");
  EXPECT_EQ(sim.pasteboardString(kPlainTextType), "text");
  EXPECT_FALSE(sim.pasteboardData("a"));  // only the first item is read
  EXPECT_EQ(sim.record().writesBy("textport"), 4u);
}

TEST(SimPasteboard, LazyRepresentationListsItsTypeButGivesNoData) {
  auto sim = loadWorld(R"({"pasteboard": [[{"type": "promise", "lazy": true},
      {"type": "t", "text": "x"}]], "pasteboard_change_count": 7})");
  const auto items = sim->pasteboardItems();
  ASSERT_EQ(items[0].size(), 2u);
  EXPECT_EQ(items[0][0].type, "promise");
  EXPECT_FALSE(items[0][0].data);
  EXPECT_FALSE(sim->pasteboardData("promise"));
  EXPECT_EQ(sim->pasteboardChangeCount(), 7);
  EXPECT_TRUE(sim->record().pasteboardWrites.empty());
}

struct CopyCase {
  const char* name;
  const char* copy;
  AXError press;
  std::int64_t changeCount;  // a write clears first, then sets
  std::string contents;
};

class SimCopyBehaviours : public ::testing::TestWithParam<CopyCase> {};

TEST_P(SimCopyBehaviours, PressHasTheConfiguredEffectOnlyAfterTheDelay) {
  const CopyCase& c = GetParam();
  auto sim = loadWorld(oneField(c.copy, R"("pasteboard": [[{"type": "t", "text": "old"}]])"));
  EXPECT_EQ(sim->performAction(node("copy"), "AXPress"), c.press);
  sim->sleep(0.09);
  EXPECT_EQ(sim->changeCount(), 0);
  sim->sleep(0.015);
  EXPECT_EQ(sim->changeCount(), c.changeCount);
  EXPECT_EQ(pasteboardText(*sim), c.contents);
  EXPECT_EQ(sim->record().writesBy("app_copy"), c.changeCount > 0 ? 1u : 0u);
  if (c.changeCount > 0) {
    EXPECT_DOUBLE_EQ(sim->record().pasteboardWrites.back().time, 0.1);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Table, SimCopyBehaviours,
    ::testing::Values(
        CopyCase{"selection", R"("copy": {"writes": "selection", "delay": 0.1})", kAXErrorSuccess,
                 2, "[public.utf8-plain-text=world;]"},
        CopyCase{"fixedText", R"("copy": {"writes": "text", "text": "", "delay": 0.1})",
                 kAXErrorSuccess, 2, "[public.utf8-plain-text=;]"},
        CopyCase{"imageOnly", R"("copy": {"writes": "image", "delay": 0.1})", kAXErrorSuccess, 2,
                 "[public.png=\x89PNG\r\n\x1A\n;]"},
        CopyCase{"nothing", R"("copy": {"writes": "nothing"})", kAXErrorSuccess, 0, "[t=old;]"},
        CopyCase{"pressFails", R"("copy": {"press_error": "cannot_complete"})",
                 kAXErrorCannotComplete, 0, "[t=old;]"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(SimPaste, CommandVInsertsThePasteboardTextAtTheReadDelay) {
  auto sim = loadWorld(oneField(R"("paste": {"read_delay": 0.1})"));
  sim->setPasteboardString("there", kPlainTextType);
  commandV(*sim);
  sim->sleep(0.05);
  EXPECT_EQ(sim->fieldValue("field"), "hello world");
  sim->sleep(0.05);
  EXPECT_EQ(sim->fieldValue("field"), "hello there");
  EXPECT_EQ(sim->fieldSelection("field"), (Range{11, 0}));
  EXPECT_EQ(sim->postedEvents().size(), 2u);
  EXPECT_EQ(sim->counter(EventType::keyDown), 1u);
  EXPECT_EQ(sim->counter(EventType::keyUp), 1u);
}

TEST(SimInput, CountersWrapAndOnlyPressesMoveThePressCounters) {
  auto sim = loadWorld(R"({"counters": {"left_mouse_down": 4294967295, "key_down": 4294967295}})");
  const EventSource source = sim->createEventSource();
  sim->postEvent(
      sim->createMouseEvent(source, EventType::leftMouseDown, {5, 6}, MouseButton::left));
  sim->postEvent(sim->createMouseEvent(source, EventType::mouseMoved, {7, 8}, MouseButton::left));
  const Event chord = sim->createKeyboardEvent(source, 63, true);
  sim->setEventType(chord, EventType::flagsChanged);
  sim->postEvent(chord);
  sim->postEvent(sim->createKeyboardEvent(source, 123, true));
  EXPECT_EQ(sim->counter(EventType::leftMouseDown), 0u);
  EXPECT_EQ(sim->counter(EventType::keyDown), 0u);
  EXPECT_EQ(sim->counter(EventType::flagsChanged), 1u);
  EXPECT_EQ(sim->pointerLocation(), (Point{7, 8}));
}

TEST(SimInput, EventCreationFailsWhereTheWorldSaysSo) {
  auto sim = loadWorld(
      R"({"events": {"keyboard_fails_after": 1, "source_fails": true, "pointer_fails": true}})");
  EXPECT_FALSE(sim->createEventSource());
  EXPECT_TRUE(sim->createKeyboardEvent({}, 9, true));
  EXPECT_FALSE(sim->createKeyboardEvent({}, 9, false));
  EXPECT_FALSE(sim->pointerLocation());
}

TEST(SimTimeline, EntriesFireOnceInOrderWhenTimeOrTheirRequestComes) {
  auto sim = loadWorld(oneField("", R"("timeline": [
      {"at": 0.5, "focus": "win"},
      {"at": 0.2, "key": 0},
      {"before_request": 2, "select": {"element": "field", "range": [0, 5]}},
      {"at": 0.3, "click": {"button": "right", "at": [1, 2]}},
      {"at": 2, "pasteboard": [[{"type": "public.utf8-plain-text", "text": "other"}]]}])"));
  sim->sleep(0.25);
  EXPECT_EQ(sim->counter(EventType::keyDown), 1u);
  EXPECT_EQ(sim->counter(EventType::rightMouseDown), 0u);
  sim->requestStarted();
  EXPECT_EQ(sim->fieldSelection("field"), (Range{6, 5}));
  sim->requestStarted();
  EXPECT_EQ(sim->fieldSelection("field"), (Range{0, 5}));
  sim->sleep(0.3);
  EXPECT_EQ(sim->counter(EventType::rightMouseDown), 1u);
  EXPECT_EQ(sim->focusedId(10), "win");
  sim->drainTimeline();
  EXPECT_DOUBLE_EQ(sim->time(), 2);
  EXPECT_EQ(sim->record().writesBy("timeline"), 1u);
  EXPECT_EQ(sim->counter(EventType::keyDown), 1u);  // nothing fired twice
  EXPECT_TRUE(sim->postedEvents().empty());         // the user's input is not "posted"
}

TEST(SimTimeline, EntryDueDuringASlowRequestChangesWhatItAnswers) {
  auto sim =
      loadWorld(oneField(R"("latency": 0.2)", R"("timeline": [{"at": 0.1, "focus": "win"}])"));
  const AXResult focused =
      sim->copyAttributeValue(sim->createApplicationElement(10), "AXFocusedUIElement");
  EXPECT_EQ(*focused.value.as<Element>(), node("win"));
}

}  // namespace
}  // namespace textport::sim
