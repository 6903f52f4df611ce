// The simulated keyboard: which key the paste posts on each layout, which key-downs an application
// pastes on, and the world-file mistakes of the keyboard, held modifiers and the clipboard manager.
// The layouts' effect on a whole delivery, held modifiers during one and the clipboard manager's
// history are shown by the scenario files.
#include <gtest/gtest.h>

#include "support/desk.h"

namespace textport::sim {
namespace {

using textport::testing::loadWorld;

// TextEdit-like: one field "body" holding "ab" with the caret at the end; it pastes at once.
std::string world(const std::string& keyboard) {
  return R"({"frontmost": 1, "pasteboard": [[{"type": "public.utf8-plain-text", "text": "V"}]],)" +
         keyboard + R"("apps": [{"pid": 1, "paste": {"read_delay": 0}, "focused": "body",
           "tree": {"children": [{"id": "w", "children": [{"id": "body", "value": "ab"}]}]}}]})";
}

TEST(SimKeyboard, PasteUsesTheKeyThatGivesVWithCommandAndKeyNineWhenNoneDoes) {
  const struct {
    const char* keyboard;
    std::uint16_t key;
    bool pastes;
  } layouts[] = {
      {"", 9, true},                                       // US, the default
      {R"("keyboard": {"layout": "dvorak"},)", 47, true},  // v at the QWERTY period
      {R"("keyboard": {"layout": "dvorak", "with_command": {"9": "v"}},)", 9, true},  // QWERTY ⌘
      {R"("keyboard": {"with_command": {"9": "k", "40": "v"}},)", 40, true},
      {R"("keyboard": {"with_command": {"9": "м"}},)", 9, false},  // no key gives v
  };
  for (const auto& layout : layouts) {
    auto sim = loadWorld(world(layout.keyboard));
    ASSERT_TRUE(sim->postPasteShortcut());
    ASSERT_EQ(sim->postedEvents().size(), 2u) << layout.keyboard;
    EXPECT_EQ(sim->postedEvents()[0].keyCode, layout.key) << layout.keyboard;
    EXPECT_EQ(sim->postedEvents()[0].flags, kEventFlagMaskCommand) << layout.keyboard;
    // The application pastes exactly when the posted key gives v.
    EXPECT_EQ(sim->fieldValue("body"), layout.pastes ? "abV" : "ab") << layout.keyboard;
  }
}

TEST(SimKeyboard, ApplicationsPasteOnlyOnCommandAndNoOtherModifier) {
  const struct {
    const char* hold;
    std::uint64_t flags;
    const char* value;
  } presses[] = {
      {"[]", kEventFlagMaskCommand, "abV"},
      {"[\"shift\"]", kEventFlagMaskCommand, "ab"},  // Shift-Command-V: another command
      {"[]", kEventFlagMaskCommand | kFlagOption, "ab"},
      {"[]", 0, "ab"},
      {"[\"command\"]", 0, "abV"},  // the held Command key joins the user's own press
  };
  for (const auto& press : presses) {
    auto sim = loadWorld(world(""));
    ASSERT_FALSE(sim->schedule(R"({"hold": )" + std::string(press.hold) + "}"));
    ASSERT_FALSE(
        sim->schedule(R"({"key": {"code": 9, "flags": )" + std::to_string(press.flags) + "}}"));
    sim->drainTimeline();
    EXPECT_EQ(sim->fieldValue("body"), press.value) << press.hold << " " << press.flags;
  }
}

TEST(SimKeyboard, HeldModifiersAreFlagChangesThatEventsFromTheSessionCarry) {
  auto sim = loadWorld(world(""));
  ASSERT_FALSE(sim->schedule(R"({"hold": ["shift", "option"]})"));
  ASSERT_FALSE(sim->schedule(R"({"hold": ["option"]})"));
  sim->drainTimeline();
  EXPECT_EQ(sim->counter(EventType::flagsChanged), 3u);
  EXPECT_EQ(sim->counter(EventType::keyDown), 0u);
  const Event event = sim->createKeyboardEvent(sim->createEventSource(), 0, true);
  sim->postEvent(event);
  EXPECT_EQ(sim->postedEvents().back().flags, kFlagOption);
}

TEST(SimKeyboard, MistakesNameTheirPlace) {
  const struct {
    std::string json, message;
  } cases[] = {
      {R"({"keyboard": {"layout": "colemak"}})", R"(keyboard.layout: expected "us" or "dvorak")"},
      {R"({"keyboard": {"with_command": {"128": "v"}}})",
       "keyboard.with_command.128: expected a key code from 0 to 127"},
      {R"({"keyboard": {"with_command": {"9": "vv"}}})",
       R"(keyboard.with_command.9: expected one character, or "" for none)"},
      {R"({"timeline": [{"at": 1, "hold": ["fn"]}]})",
       R"(timeline[0].hold[0]: expected "shift", "control", "option" or "command")"},
      {R"({"clipboard_manager": {"delay": -1}})",
       "clipboard_manager.delay: expected a number of seconds, 0 or more"},
  };
  for (const auto& c : cases) {
    const SimLoad loaded = SimDesktop::fromJson(c.json, "w.json");
    EXPECT_EQ(loaded.error, "w.json: " + c.message) << c.json;
  }
}

}  // namespace
}  // namespace textport::sim
