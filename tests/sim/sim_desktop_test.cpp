// The rest of the simulated desktop: lazy pasteboard types, the applications' Copy behaviour,
// input counters and failures, and the timeline. The platform contract proves the pasteboard's
// round trips and change count, the clock, posted events raising the counters and the UUIDs;
// the scenario files prove exact virtual time, the state file and Command-V pasting into the
// focused field; the delivery tests prove timeline entries that fall inside a request.
#include <gtest/gtest.h>

#include "sim_fixture.h"

namespace textport::sim {
namespace {

using namespace testing;

TEST(SimPasteboard, ALazyTypeIsListedWithoutData) {
  auto sim = loadWorld(R"({"pasteboard": [[{"type": "promise", "lazy": true}]]})");
  ASSERT_EQ(sim->pasteboardItems().size(), 1u);
  EXPECT_EQ(sim->pasteboardItems()[0][0].type, "promise");
  EXPECT_FALSE(sim->pasteboardItems()[0][0].data);
  EXPECT_FALSE(sim->pasteboardData("promise"));
}

// Other kinds of copy are proven by the capture tests' copy worlds.
TEST(SimCopyBehaviours, PressWritesTheSelectionOnlyAfterTheDelay) {
  auto sim = loadWorld(oneField(R"("copy": {"writes": "selection", "delay": 0.1})",
                                R"("pasteboard": [[{"type": "t", "text": "old"}]])"));
  EXPECT_EQ(sim->performAction(node("copy"), "AXPress"), kAXErrorSuccess);
  sim->sleep(0.09);
  EXPECT_EQ(sim->changeCount(), 0);
  sim->sleep(0.015);
  EXPECT_EQ(sim->changeCount(), 2);  // a write clears first, then sets
  EXPECT_EQ(pasteboardText(*sim), "[public.utf8-plain-text=world;]");
  EXPECT_EQ(sim->record().writesBy("app_copy"), 1u);
  EXPECT_DOUBLE_EQ(sim->record().pasteboardWrites.back().time, 0.1);
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
  sim->sleep(-1);  // a negative wait does not turn time back
  EXPECT_DOUBLE_EQ(sim->time(), 2);
  EXPECT_EQ(sim->record().writesBy("timeline"), 1u);
  EXPECT_EQ(sim->counter(EventType::keyDown), 1u);  // nothing fired twice
  EXPECT_TRUE(sim->postedEvents().empty());         // the user's input is not "posted"
}

}  // namespace
}  // namespace textport::sim
