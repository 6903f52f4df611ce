// The rest of the simulated desktop: virtual time, the pasteboard, input
// counters, the applications' Copy and Command-V behaviours and the timeline.
// The UUID sequence, the state file and Command-V pasting into the focused field
// (at once or after a read delay) are proven by the scenario files.
#include <gtest/gtest.h>

#include "sim_fixture.h"

namespace textport::sim {
namespace {

using namespace testing;

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
  auto sim = loadWorld(R"({"pasteboard": [[{"type": "promise", "lazy": true}]],
      "pasteboard_change_count": 7})");
  EXPECT_EQ(sim->pasteboardItems()[0][0].type, "promise");  // a lazy type is listed without data
  EXPECT_FALSE(sim->pasteboardData("promise"));
  EXPECT_TRUE(sim->record().pasteboardWrites.empty());
  EXPECT_EQ(sim->clearPasteboard(), 8);
  EXPECT_FALSE(sim->pasteboardString(kPlainTextType));
  sim->setPasteboardString("text", kPlainTextType);  // creates the first item
  sim->setPasteboardData({'1'}, "png");              // joins it
  sim->writePasteboardItems({{{"a", {'3'}}}, {{"b", {'4'}}}});
  EXPECT_EQ(sim->pasteboardChangeCount(), 11);
  EXPECT_EQ(pasteboardText(*sim), "[public.utf8-plain-text=text;png=1;][a=3;][b=4;]");
  EXPECT_EQ(sim->pasteboardString(kPlainTextType), "text");
  EXPECT_FALSE(sim->pasteboardData("a"));  // only the first item is read
  EXPECT_EQ(sim->record().writesBy("textport"), 4u);
}

// A refused press and a Copy that never writes are proven by the copy tests.
TEST(SimCopyBehaviours, PressWritesTheConfiguredContentOnlyAfterTheDelay) {
  const std::pair<const char*, const char*> cases[] = {
      {R"("copy": {"writes": "selection", "delay": 0.1})", "[public.utf8-plain-text=world;]"},
      {R"("copy": {"writes": "image", "delay": 0.1})", "[public.png=\x89PNG\r\n\x1A\n;]"}};
  for (const auto& [copy, contents] : cases) {
    auto sim = loadWorld(oneField(copy, R"("pasteboard": [[{"type": "t", "text": "old"}]])"));
    EXPECT_EQ(sim->performAction(node("copy"), "AXPress"), kAXErrorSuccess);
    sim->sleep(0.09);
    EXPECT_EQ(sim->changeCount(), 0);
    sim->sleep(0.015);
    EXPECT_EQ(sim->changeCount(), 2);  // a write clears first, then sets
    EXPECT_EQ(pasteboardText(*sim), contents);
    EXPECT_EQ(sim->record().writesBy("app_copy"), 1u);
    EXPECT_DOUBLE_EQ(sim->record().pasteboardWrites.back().time, 0.1);
  }
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
