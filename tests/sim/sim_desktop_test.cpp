// The simulated desktop's own rules: world files and their mistakes, live text fields, trust,
// messaging timeouts and what the record says about them, the Copy behaviour, input counters and
// failures.
// Proven elsewhere: the pasteboard's round trips, reads from the first item that lists a type,
// the change count, the clock, posted events raising the counters, equal handles and the UUIDs by
// the platform contract; exact virtual time, the state file, the accessibility switch, promised
// pasteboard types, a write after a clear that leaves the change count alone, Command-V pasting
// into the focused field and the timeline (in order, once, never as posted events) by the
// scenario files, which also load every shipped example and show a Copy press that timed out
// still copying; timeline entries that fall inside a request by the delivery tests; the
// system-wide element, focus and text markers by the element-helper and capture tests.
#include <gtest/gtest.h>

#include "support/desk.h"

namespace textport::sim {
namespace {

using textport::testing::loadWorld;
using textport::testing::pasteboardText;

// One application (pid 10) with a window and a text field "field" holding "hello world" with
// "world" selected, a Copy menu item and the pasteboard "old"; `app` (with its trailing comma)
// is spliced into the application.
std::string oneField(const std::string& app = "") {
  std::string world = textport::testing::worldFile("one_field.json");
  return world.insert(world.find(R"("pid": 10,)") + 10, " " + app);
}

Element node(const char* id) {
  return makeElement(ElementKind::node, 10, id);
}

TEST(SimWorld, LoadingFailsWithSourcePathAndReason) {
  const std::string tree = R"({"apps": [{"pid": 1, "tree": {"children": [)";
  const struct {
    std::string json, message;
  } cases[] = {
      {"{\n  \"trusted\": tru\n}", "line 2, column 17: not valid JSON"},
      {"[]", "top level: expected an object"},
      {R"({"colour": 1})", "colour: unknown key"},
      {R"({"frontmost": 5})", "frontmost: no application has the pid 5"},
      {R"({"apps": [{"name": "x"}]})", "apps[0]: missing \"pid\""},
      {R"({"apps": [{"pid": 1}, {"pid": 1}]})", "apps[1].pid: another application has the pid 1"},
      {tree + R"({"id": "w"}, {"id": "u", "frame": [1, 2, 3]}]}}]})",
       "apps[0].tree.children[1].frame: expected [x, y, width, height]"},
      {tree + R"({"id": "f", "value": "ab", "selected_range": [1, 2]}]}}]})",
       "apps[0].tree.children[0].selected_range: lies outside the value's 2 UTF-16 code units"},
      {tree + R"({"id": "f", "attributes": {"AXParent": {"element": "nope"}}}]}}]})",
       "apps[0].tree.children[0].attributes.AXParent.element: no element has the id \"nope\""},
      {tree + R"({"id": "f", "errors": {"AXValue": "broken"}}]}}]})",
       "apps[0].tree.children[0].errors.AXValue: unknown error name \"broken\""},
      {R"({"apps": [{"pid": 1, "copy": {"writes": "text"}}]})", "apps[0].copy: missing \"text\""},
      {R"({"counters": {"key_down": 4294967296}})",
       "counters.key_down: expected an integer from 0 to 4294967295"},
      {R"({"pasteboard": [[{"type": "t", "base64": "@@"}]]})",
       "pasteboard[0][0].base64: not valid base64"},
      {R"({"pasteboard": [[{"type": "t"}]]})",
       R"(pasteboard[0][0]: missing "text", "base64" or "hex" (or "lazy": true))"},
      {R"({"timeline": [{"key": 1}]})", "timeline[0]: missing \"at\" or \"before_request\""},
      {R"({"timeline": [{"at": 1, "focus_lost": 7}]})",
       "timeline[0].focus_lost: no application has the pid 7"},
      {R"({"timeline": [{"at": 1, "fails": {"attribute": "AXValue", "error": null}}]})",
       R"(timeline[0].fails: expected "pid" (the application element) or "element")"},
      {R"({"timeline": [{"at": 1, "app": {"pid": 1, "latency": -1}}]})",
       "timeline[0].app.pid: no application has the pid 1"},
      {R"({"apps": [{"pid": 1, "copy": {"also": [{"type": "t", "lazy": true}]}}]})",
       "apps[0].copy.also: a Copy writes data, not promises"},
      {tree + R"({"id": "f", "attributes": {"AXSize": {"size": ["wide", 1]}}}]}}]})",
       "apps[0].tree.children[0].attributes.AXSize.size[0]: expected a number"},
  };
  for (const auto& c : cases) {
    const SimLoad loaded = SimDesktop::fromJson(c.json, "w.json");
    EXPECT_FALSE(loaded) << c.json;
    EXPECT_EQ(loaded.error, "w.json: " + c.message);
  }
}

TEST(SimAccessibility, TextFieldDerivesItsAttributesUnlessOverriddenOrFailing) {
  // "f" holds "a😀bc" with "😀b" selected; "g" overrides its role and parent and fails AXValue.
  auto sim = loadWorld(textport::testing::worldFile("text_fields.json"));
  const auto value = [&](const char* id, const char* name) {
    return sim->copyAttributeValue(node(id), name);
  };
  EXPECT_EQ(*value("f", "AXValue").value.as<std::string>(), "a😀bc");
  // Ranges count UTF-16 code units: the emoji is two.
  EXPECT_EQ(*value("f", "AXNumberOfCharacters").value.as<std::int64_t>(), 5);
  EXPECT_EQ(*value("f", "AXSelectedTextRange").value.as<Range>(), (Range{1, 3}));
  EXPECT_EQ(*value("f", "AXSelectedText").value.as<std::string>(), "😀b");
  EXPECT_EQ(value("f", "AXSubrole").error, kAXErrorAttributeUnsupported);
  EXPECT_EQ(*value("g", "AXRole").value.as<std::int64_t>(), 3);
  EXPECT_EQ(*value("g", "AXParent").value.as<Element>(), node("f"));
  EXPECT_EQ(value("g", "AXValue").error, kAXErrorCannotComplete);
  EXPECT_TRUE(value("g", "AXValue").value.isNothing());
  // Without trust every request fails at once, however slow the application.
  const double before = sim->time();
  sim->setTrusted(false);
  EXPECT_EQ(value("f", "AXValue").error, kAXErrorAPIDisabled);
  EXPECT_EQ(sim->time(), before);
}

// The timeout in force is the handle's own (copies share it), else the process-wide default set
// through a system-wide handle, else the platform's 6 s.
TEST(SimAccessibility, RequestCostsItsLatencyOrExactlyTheTimeoutInForce) {
  constexpr AXError kOk = kAXErrorSuccess, kTimedOut = kAXErrorCannotComplete;
  constexpr auto kElement = TimeoutSource::element;
  constexpr auto kPlatform = TimeoutSource::platform;
  const struct {
    const char* rule;
    const char* app;       // spliced into the application
    float elementTimeout;  // 0: none set on the application's handle
    float processTimeout;  // 0: none set through the system-wide element
    bool freshHandle;      // asked through a new handle instead of a copy of the first
    AXError result;
    double cost;  // virtual seconds the request takes
    TimeoutSource source;
  } cases[] = {
      {"as slow as the timeout", R"("latency": 0.25,)", 0.25f, 0, false, kOk, 0.25, kElement},
      {"slower", R"("latency": 0.5,)", 0.3f, 0, false, kTimedOut, double(0.3f), kElement},
      {"hung", R"("hung": true,)", 0.3f, 0, false, kTimedOut, double(0.3f), kElement},
      {"process default", R"("hung": true,)", 0, 0.15f, false, kTimedOut, double(0.15f),
       TimeoutSource::process},
      {"the element's beats the process's", R"("hung": true,)", 0.08f, 0.15f, false, kTimedOut,
       double(0.08f), kElement},
      {"platform default", R"("hung": true,)", 0, 0, false, kTimedOut, 6.0, kPlatform},
      {"a fresh handle has none", R"("hung": true,)", 0.3f, 0, true, kTimedOut, 6.0, kPlatform},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rule);
    auto sim = loadWorld(oneField(c.app));
    if (c.processTimeout > 0) {
      sim->setMessagingTimeout(sim->createSystemWideElement(), c.processTimeout);
    }
    const Element app = sim->createApplicationElement(10);
    if (c.elementTimeout > 0) sim->setMessagingTimeout(app, c.elementTimeout);
    const Element asked = c.freshHandle ? sim->createApplicationElement(10) : app;
    EXPECT_EQ(sim->copyAttributeValue(asked, "AXFocusedWindow").error, c.result);
    EXPECT_DOUBLE_EQ(sim->time(), c.cost);
    EXPECT_EQ(sim->record().requests.back().timeoutSource, c.source);
    EXPECT_EQ(sim->record().requests.back().result, c.result);
    EXPECT_EQ(sim->record().requestsOnPlatformDefault(), c.source == kPlatform);
  }
}

// The Copy item's press clears the pasteboard after the copy's delay and writes the selection at
// once or, with data_after_clear, later: in between the count has moved and there is no text.
TEST(SimCopyBehaviours, ACopyLandsAfterItsDelayInOneOrTwoSteps) {
  for (const double dataAfterClear : {0.0, 0.2}) {
    SCOPED_TRACE(dataAfterClear);
    auto sim = loadWorld(oneField(R"("copy": {"delay": 0.1, "data_after_clear": )" +
                                  std::to_string(dataAfterClear) + "},"));
    EXPECT_EQ(sim->performAction(node("copy"), "AXPress"), kAXErrorSuccess);
    sim->sleep(0.095);
    EXPECT_EQ(sim->changeCount(), 0);
    sim->sleep(0.01);
    EXPECT_EQ(sim->changeCount(), 1);
    EXPECT_EQ(sim->pasteboardString(kPlainTextType).has_value(), dataAfterClear == 0);
    sim->sleep(dataAfterClear);
    EXPECT_EQ(pasteboardText(*sim), "[public.utf8-plain-text=world;]");
    EXPECT_EQ(sim->changeCount(), 1);
  }
}

TEST(SimInput, OnlyPressesMoveThePressCountersAndEventsFailWhereTheWorldSaysSo) {
  auto sim = loadWorld(R"({"counters": {"left_mouse_down": 4294967295, "key_down": 4294967295}})");
  const EventSource source = sim->createEventSource();
  sim->postEvent(
      sim->createMouseEvent(source, EventType::leftMouseDown, {5, 6}, MouseButton::left));
  sim->postEvent(sim->createMouseEvent(source, EventType::mouseMoved, {7, 8}, MouseButton::left));
  const Event chord = sim->createKeyboardEvent(source, 63, true);
  sim->setEventType(chord, EventType::flagsChanged);
  sim->postEvent(chord);
  sim->postEvent(sim->createKeyboardEvent(source, 123, true));
  EXPECT_EQ(sim->counter(EventType::leftMouseDown), 0u);  // wrapped
  EXPECT_EQ(sim->counter(EventType::keyDown), 0u);
  EXPECT_EQ(sim->counter(EventType::flagsChanged), 1u);
  EXPECT_EQ(sim->pointerLocation(), (Point{7, 8}));

  auto failing = loadWorld(
      R"({"events": {"keyboard_fails_after": 1, "source_fails": true, "pointer_fails": true}})");
  EXPECT_FALSE(failing->createEventSource());
  EXPECT_TRUE(failing->createKeyboardEvent({}, 9, true));
  EXPECT_FALSE(failing->createKeyboardEvent({}, 9, false));
  EXPECT_FALSE(failing->pointerLocation());
}

}  // namespace
}  // namespace textport::sim
