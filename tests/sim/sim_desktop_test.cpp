// The rest of the simulated desktop: virtual time, the pasteboard, input counters, the
// applications' Copy and Command-V behaviours and the timeline.
#include <gtest/gtest.h>

#include "platform/sim/sim_text.h"
#include "sim_fixture.h"

namespace textport::sim {
namespace {

using testing::node;
using testing::oneField;
using testing::world;

void commandV(SimDesktop& sim) {
  const EventSource source = sim.createEventSource();
  for (bool down : {true, false}) {
    const Event event = sim.createKeyboardEvent(source, 9, down);
    sim.setEventFlags(event, kEventFlagMaskCommand);
    sim.postEvent(event);
  }
}

std::optional<std::string> firstText(const SimDesktop& sim) {
  const auto& items = sim.pasteboardContents();
  if (items.empty() || items[0].empty() || !items[0][0].data) return std::nullopt;
  return toString(*items[0][0].data);
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
  sim.setPasteboardData({1, 2}, "public.png");      // joins it
  sim.writePasteboardItems({{{"a", {3}}}, {{"b", {4}}}});
  EXPECT_EQ(sim.pasteboardChangeCount(), 4);
  const auto items = sim.pasteboardItems();
  ASSERT_EQ(items.size(), 3u);
  EXPECT_EQ(items[0].size(), 2u);
  EXPECT_EQ(sim.pasteboardString(kPlainTextType), "text");
  EXPECT_FALSE(sim.pasteboardData("a"));  // only the first item is read
  EXPECT_EQ(sim.record().writesBy("textport"), 4u);
}

TEST(SimPasteboard, LazyRepresentationListsItsTypeButGivesNoData) {
  auto sim = world(R"({"pasteboard": [[{"type": "com.example.promise", "lazy": true},
      {"type": "public.utf8-plain-text", "text": "x"}]], "pasteboard_change_count": 7})");
  const auto items = sim->pasteboardItems();
  ASSERT_EQ(items[0].size(), 2u);
  EXPECT_EQ(items[0][0].type, "com.example.promise");
  EXPECT_FALSE(items[0][0].data);
  EXPECT_FALSE(sim->pasteboardData("com.example.promise"));
  EXPECT_EQ(sim->pasteboardChangeCount(), 7);
  EXPECT_TRUE(sim->record().pasteboardWrites.empty());
}

TEST(SimCopy, PressLandsTheSelectionAfterTheDelayClearingFirst) {
  auto sim = world(oneField(R"("copy": {"writes": "selection", "delay": 0.1})",
                            R"("pasteboard": [[{"type": "public.png", "hex": "89"}]])"));
  EXPECT_EQ(sim->performAction(node("copy"), "AXPress"), kAXErrorSuccess);
  EXPECT_EQ(sim->changeCount(), 0);
  sim->sleep(0.09);
  EXPECT_EQ(sim->changeCount(), 0);
  sim->sleep(0.015);
  EXPECT_EQ(sim->changeCount(), 2);  // clear, then set
  ASSERT_EQ(sim->pasteboardContents().size(), 1u);
  EXPECT_EQ(sim->pasteboardContents()[0].size(), 1u);
  EXPECT_EQ(firstText(*sim), "world");
  EXPECT_EQ(sim->record().pasteboardWrites.back().writer, "app_copy");
  EXPECT_DOUBLE_EQ(sim->record().pasteboardWrites.back().time, 0.1);
}

struct CopyCase {
  const char* name;
  const char* copy;
  std::int64_t changeCount;
  std::optional<std::string> text;
  AXError press;
};

class SimCopyBehaviours : public ::testing::TestWithParam<CopyCase> {};

TEST_P(SimCopyBehaviours, PressHasTheConfiguredEffect) {
  const CopyCase& c = GetParam();
  auto sim = world(oneField(c.copy));
  EXPECT_EQ(sim->performAction(node("copy"), "AXPress"), c.press);
  sim->sleep(1);
  EXPECT_EQ(sim->changeCount(), c.changeCount);
  EXPECT_EQ(sim->pasteboardString(kPlainTextType), c.text);
}

INSTANTIATE_TEST_SUITE_P(
    Table, SimCopyBehaviours,
    ::testing::Values(
        CopyCase{"fixedText", R"("copy": {"writes": "text", "text": ""})", 2, "", kAXErrorSuccess},
        CopyCase{"imageOnly", R"("copy": {"writes": "image"})", 2, std::nullopt, kAXErrorSuccess},
        CopyCase{"nothing", R"("copy": {"writes": "nothing"})", 0, std::nullopt, kAXErrorSuccess},
        CopyCase{"pressFails", R"("copy": {"press_error": "cannot_complete"})", 0, std::nullopt,
                 kAXErrorCannotComplete}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(SimPaste, CommandVInsertsThePasteboardTextAtTheReadDelay) {
  auto sim = world(oneField(R"("paste": {"read_delay": 0.1})"));
  sim->setPasteboardString("there", kPlainTextType);
  commandV(*sim);
  EXPECT_EQ(sim->fieldValue("field"), "hello world");
  sim->sleep(0.1);
  EXPECT_EQ(sim->fieldValue("field"), "hello there");
  EXPECT_EQ(sim->fieldSelection("field"), (Range{11, 0}));
  EXPECT_EQ(sim->postedEvents().size(), 2u);
  EXPECT_EQ(sim->counter(EventType::keyDown), 1u);
  EXPECT_EQ(sim->counter(EventType::keyUp), 1u);
}

TEST(SimPaste, ApplicationReadingAfterTheRestorePastesTheRestoredClipboard) {
  auto sim = world(oneField(R"("paste": {"read_delay": 0.5})"));
  sim->setPasteboardString("result", kPlainTextType);
  commandV(*sim);
  sim->sleep(0.35);
  sim->clearPasteboard();
  sim->setPasteboardString("user's own", kPlainTextType);
  sim->sleep(0.2);
  EXPECT_EQ(sim->fieldValue("field"), "hello user's own");
}

TEST(SimInput, CountersWrapAndOnlyPressesMoveThePressCounters) {
  auto sim = world(R"({"counters": {"left_mouse_down": 4294967295, "key_down": 4294967295}})");
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
  auto sim = world(R"({"events": {"keyboard_fails_after": 1, "source_fails": true,
                                  "pointer_fails": true}})");
  EXPECT_FALSE(sim->createEventSource());
  EXPECT_TRUE(sim->createKeyboardEvent({}, 9, true));
  EXPECT_FALSE(sim->createKeyboardEvent({}, 9, false));
  EXPECT_FALSE(sim->pointerLocation());
}

TEST(SimTimeline, EntriesFireOnceInOrderWhenTimeOrTheirRequestComes) {
  auto sim = world(oneField("", R"("timeline": [
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
  auto sim = world(oneField(R"("latency": 0.2)", R"("timeline": [{"at": 0.1, "focus": "win"}])"));
  const AXResult focused =
      sim->copyAttributeValue(sim->createApplicationElement(10), "AXFocusedUIElement");
  EXPECT_EQ(*focused.value.as<Element>(), node("win"));
}

TEST(SimIdentity, UuidsAreACountedSequence) {
  SimDesktop sim;
  EXPECT_EQ(sim.newUuid(), "00000000-0000-4000-8000-000000000001");
  EXPECT_EQ(sim.newUuid(), "00000000-0000-4000-8000-000000000002");
}

TEST(SimState, StateJsonHoldsPasteboardFieldsAndEvents) {
  auto sim = world(oneField("", R"("pasteboard": [[{"type": "t", "hex": "ff00"}]])"));
  commandV(*sim);
  const std::string state = sim->stateJson();
  EXPECT_NE(state.find(R"("base64": "/wA=")"), std::string::npos);
  EXPECT_NE(state.find(R"("value": "hello world")"), std::string::npos);
  EXPECT_NE(state.find(R"("key_code": 9)"), std::string::npos);
}

}  // namespace
}  // namespace textport::sim
