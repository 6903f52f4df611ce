// Driving a fixture application: the gates, the four modes and the exact events they post.
#include <gtest/gtest.h>

#include <string>

#include "diagnostics/diagnostics.h"
#include "support/desk.h"

namespace textport {
namespace {

using testing::Desk;

const std::vector<std::string> kVerify = {"textport", "--verify-selection"};

// `app` is spliced into the application object, `treeExtra` into its tree; the window holds a
// composer unless told not to.
std::string fixtureWorld(const std::string& app = R"("bundle": "app.tamsel.fixtureambiguous",)",
                         const std::string& windowExtra = R"("frame": [100, 50, 800, 600],)",
                         bool composer = true, const std::string& treeExtra = "") {
  const std::string children =
      composer
          ? R"({"id": "composer", "role": "AXTextArea", "value": "typed", "frame": [100, 400, 800, 200]})"
          : "";
  return R"({"frontmost": 900, "pointer": [5, 6], "counters": {"key_down": 4294967295},
    "apps": [{"pid": 900, )" +
         app + R"( "name": "Fixture",
      "tree": {)" +
         treeExtra + R"("children": [{"id": "w", "role": "AXWindow", )" + windowExtra +
         R"( "children": [)" + children + "]}]}}]}";
}

JsonObject probe(Desk& desk, JsonValue mode) {
  return probeFixture(desk.session,
                      JsonObject{{"action", "probe_fixture"}, {"mode", std::move(mode)}});
}

TEST(ProbeFixture, RefusesEverythingButAFrontmostFixture) {
  const struct {
    const char* rule;
    std::string world;
    std::vector<std::string> arguments;
  } cases[] = {
      {"without the flag", fixtureWorld(), {"textport"}},
      {"another application", fixtureWorld(R"("bundle": "com.tencent.xinWeChat",)"), kVerify},
      {"an application without a bundle", fixtureWorld(""), kVerify},
      {"no frontmost application", R"({"frontmost": null})", kVerify},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rule);
    for (const char* mode : {"read", "fn_chord_count", "mouse", "key"}) {
      Desk desk(c.world, c.arguments);
      EXPECT_EQ(probe(desk, mode), errorAnswer("Fixture only"));
      EXPECT_TRUE(desk.sim().postedEvents().empty());
    }
  }
}

TEST(ProbeFixture, AnswersEachModeOrSaysWhatIsMissing) {
  const struct {
    const char* rule;
    std::string world;
    JsonValue mode;
    JsonObject answer;
  } cases[] = {
      {"read gives the composer's text", fixtureWorld(), "read", {{"text", "typed"}}},
      {"read without a composer is no request",
       fixtureWorld(R"("bundle": "app.tamsel.fixturecomposer",)",
                    R"("frame": [100, 50, 800, 600],)", false),
       "read", errorAnswer("Invalid fixture request")},
      {"a missing mode", fixtureWorld(), nullptr, errorAnswer("Invalid fixture request")},
      {"a mode in other case", fixtureWorld(), "Key", errorAnswer("Invalid fixture request")},
      {"a window read that fails",
       fixtureWorld(R"("bundle": "app.tamsel.fixtureopaque",)", R"("frame": [100, 50, 800, 600],)",
                    true, R"("errors": {"AXFocusedWindow": -25204}, )"),
       "key", errorAnswer("Missing fixture window")},
      {"a window without bounds", fixtureWorld(R"("bundle": "app.tamsel.fixtureopaque",)", ""),
       "mouse", errorAnswer("No fixture bounds")},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rule);
    Desk desk(c.world, kVerify);
    EXPECT_EQ(probe(desk, c.mode), c.answer);
  }
}

TEST(ProbeFixture, ChordDeltaWrapsAndCountsOnlyTheSpacePress) {
  Desk desk(fixtureWorld(), kVerify);
  EXPECT_EQ(probe(desk, "fn_chord_count"), (JsonObject{{"delta", 1}}));
  const auto& events = desk.sim().postedEvents();
  ASSERT_EQ(events.size(), 4u);
  const struct {
    EventType type;
    std::uint16_t key;
    std::uint64_t flags;
  } expected[] = {{EventType::flagsChanged, 63, kEventFlagMaskSecondaryFn},
                  {EventType::keyDown, 49, kEventFlagMaskSecondaryFn},
                  {EventType::keyUp, 49, kEventFlagMaskSecondaryFn},
                  {EventType::flagsChanged, 63, 0}};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(events[i].type, expected[i].type) << i;
    EXPECT_EQ(events[i].keyCode, expected[i].key) << i;
    EXPECT_EQ(events[i].flags, expected[i].flags) << i;
  }
  EXPECT_EQ(desk.sim().record().waits.back().seconds, 0.15);
}

TEST(ProbeFixture, ClickLandsInTheWindowAndPutsThePointerBack) {
  for (bool pointerKnown : {true, false}) {
    Desk desk(fixtureWorld(), kVerify);
    desk.sim().input().failures().pointer = !pointerKnown;
    EXPECT_EQ(probe(desk, "mouse"), (JsonObject{{"ok", true}}));
    const auto& events = desk.sim().postedEvents();
    ASSERT_EQ(events.size(), pointerKnown ? 3u : 2u);
    EXPECT_EQ(events[0].type, EventType::leftMouseDown);
    EXPECT_EQ(events[1].type, EventType::leftMouseUp);
    for (std::size_t i = 0; i < 2; ++i) EXPECT_EQ(events[i].location, (Point{160, 150}));
    if (pointerKnown) {
      EXPECT_EQ(events[2].type, EventType::mouseMoved);
      EXPECT_EQ(desk.sim().input().pointer(), (Point{5, 6}));
    }
    EXPECT_EQ(desk.sim().record().waits.back().seconds, 0.08);
  }
}

TEST(ProbeFixture, KeyPressesLeftArrowWithoutFlags) {
  Desk desk(fixtureWorld(), kVerify);
  EXPECT_EQ(probe(desk, "key"), (JsonObject{{"ok", true}}));
  const auto& events = desk.sim().postedEvents();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].type, EventType::keyDown);
  EXPECT_EQ(events[1].type, EventType::keyUp);
  for (const auto& e : events) {
    EXPECT_EQ(e.keyCode, 123);
    EXPECT_EQ(e.flags, 0u);
  }
  EXPECT_EQ(desk.sim().counter(EventType::keyDown), 0u);  // wrapped past 2^32 - 1
}

}  // namespace
}  // namespace textport
