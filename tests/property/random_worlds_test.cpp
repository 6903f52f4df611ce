// Randomised desktops from fixed seeds: random pasteboards, copy and paste behaviours, user
// changes between requests, other programs writing the pasteboard, and random sequences of
// captures and deliveries through the real request loop. After every request the answer keeps
// the protocol, the user's pasteboard is kept, the request stays within its time budget, a
// delivery never pastes after a change that its checks must catch, and a delivery that waits for
// the read never lets an application paste the user's old clipboard.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "delivery/restore_after_read.h"
#include "platform/sim/sim_desktop.h"
#include "platform/sim/sim_text.h"
#include "property/request_invariants.h"
#include "request/request_loop.h"
#include "session/session.h"
#include "support/desk.h"

namespace textport {
namespace {

using nlohmann::json;

constexpr Pid kEditor = 501;
constexpr Pid kChat = 600;

// Virtual seconds a request may take when no application is slow: a capture waits at most
// for one Copy (0.65 s and one poll); a delivery adds the composer's focus pause and the
// 0.35 s paste wait to a fresh capture.
constexpr double kTargetBudget = 0.70;
constexpr double kDeliverBudget = 1.10;
// One that waits for the read: up to 2 s from the keystroke, a 5 ms look and 30 ms to settle.
constexpr double kReadDeliverBudget = 2.80;
constexpr double kInstantBudget = 0.0;

struct Dice {
  std::mt19937_64 engine;
  int upTo(int n) { return std::uniform_int_distribution<int>(0, n)(engine); }
  bool chance(double p) { return std::bernoulli_distribution(p)(engine); }
  template <class T>
  const T& pick(const std::vector<T>& options) {
    return options[static_cast<std::size_t>(upTo(static_cast<int>(options.size()) - 1))];
  }
};

json randomPasteboard(Dice& dice) {
  const std::vector<std::string> kTypes = {"public.utf8-plain-text", "public.png", "public.rtf",
                                           "com.example.private"};
  json items = json::array();
  for (int i = dice.upTo(3); i > 0; --i) {
    json& item = items.emplace_back(json::array());
    for (int j = dice.upTo(3); j > 0; --j) {
      json representation{{"type", dice.pick(kTypes) + (dice.chance(0.3) ? ".x" : "")}};
      const int kind = dice.upTo(3);
      std::string hex;
      for (int k = kind == 1 ? dice.upTo(12) : 0; k > 0; --k) {
        hex += dice.pick<std::string>({"00", "ff", "0a", "c3"});
      }
      if (kind == 0)
        representation["text"] = dice.pick<std::string>({"", "clip", "多字节 ✓", "a/b"});
      if (kind == 1) representation["hex"] = hex;
      if (kind == 2) representation["lazy"] = true;
      if (kind == 3) representation["text"] = std::string(dice.upTo(3000), 'x');
      item.push_back(representation);
    }
  }
  return items;
}

// The editor with a title, a body and a Copy item, and the chat application with its composer,
// of tests/worlds/random_template.json; what the user and the applications do is drawn from the
// dice.
json randomWorld(Dice& dice, Dice* more) {
  json world = json::parse(testing::worldFile("random_template.json"));
  json& editor = world["apps"][0];
  json& body = editor["tree"]["children"][0]["children"][1];
  json& chat = world["apps"][1];
  const double copyDelay = dice.pick<double>({0, 0.05, 0.3, 0.64, 0.9});
  body["value"] = dice.pick<std::string>({"hello world", "", "ünïcödé 😀 text"});
  const std::string writes = dice.pick<std::string>({"selection", "text", "image", "nothing"});
  editor["copy"] = {
      {"writes", writes}, {"delay", copyDelay}, {"press_error", dice.chance(0.1) ? -25204 : 0}};
  if (writes == "text") editor["copy"]["text"] = "their copy";
  double readDelay = dice.pick<double>({0, 0.05, 0.2, 0.5});
  // Up to 2 s, where a delivery that waits for the read gives up.
  if (more && more->chance(0.4)) readDelay = more->pick<double>({1.0, 1.9, 2.0});
  editor["paste"] = chat["paste"] = {{"read_delay", readDelay}};
  editor["focused"] = dice.chance(0.8) ? "body" : "title";
  editor["menu_bar"]["children"][0]["children"][0]["enabled"] = dice.chance(0.9);
  if (dice.chance(0.3)) body["errors"] = {{"AXSelectedText", "attribute_unsupported"}};
  chat["focused"] = dice.chance(0.5) ? "messages" : "composer";
  chat["accessibility"] = {{"tree_needs_switch", dice.chance(0.5)}};
  chat["tree"]["children"][0]["children"][1]["value"] = dice.chance(0.5) ? "" : "draft";
  for (int i = dice.upTo(2); i > 0; --i) {
    world["timeline"].push_back(
        {{"at", dice.upTo(40) / 10.0}, {"pasteboard", randomPasteboard(dice)}});
  }
  world["frontmost"] = dice.chance(0.6) ? kEditor : kChat;
  world["counters"] = {{"key_down", 4294967295u - static_cast<unsigned>(dice.upTo(2))},
                       {"left_mouse_down", dice.upTo(5)}};
  world["pasteboard"] = randomPasteboard(dice);
  if (more && more->chance(0.2)) world["keyboard"] = {{"layout", "dvorak"}};
  return world;
}

// What the user could notice about a captured target; a delivery must refuse when it moved.
struct View {
  std::optional<Pid> front;
  std::optional<std::string> focused;
  std::optional<Range> selection;
  std::uint32_t keys = 0;
  std::uint32_t clicks = 0;
};

View look(const sim::SimDesktop& desktop, Pid pid) {
  View view{desktop.frontmostPid(), desktop.focusedId(pid), std::nullopt,
            desktop.counter(EventType::keyDown), desktop.counter(EventType::leftMouseDown)};
  if (view.focused) view.selection = desktop.fieldSelection(*view.focused);
  return view;
}

struct Capture {
  json answer;
  View view;
};

// A change the user makes between two requests, as a timeline entry that happens at once.
json randomChange(Dice& dice, const sim::SimDesktop& desktop) {
  // The body's length in UTF-16 code units, so a new selection always lies inside it.
  const int length = static_cast<int>(sim::toUtf16(desktop.fieldValue("body").value_or("")).size());
  const int location = dice.upTo(length);
  const int kind = dice.upTo(7);
  if (kind == 0)
    return {{"focus", dice.pick<std::string>({"title", "body", "composer", "messages"})}};
  if (kind == 1)
    return {{"select", {{"element", "body"}, {"range", {location, dice.upTo(length - location)}}}}};
  if (kind == 2) return {{"frontmost", dice.chance(0.5) ? kEditor : kChat}};
  if (kind == 3) return {{"key", dice.pick<int>({0, 12, 49})}};
  if (kind == 4) return {{"click", {{"button", "left"}}}};
  if (kind == 5) return {{"pasteboard", randomPasteboard(dice)}};
  if (kind == 6) return {{"trusted", dice.chance(0.7)}};
  return {{"edit", {{"element", "body"}, {"value", "edited"}}}};
}

// Input that is no press, a held modifier, the focus or the focused window going away, or one
// attribute of the editor starting or stopping to fail.
json randomSituation(Dice& more) {
  switch (more.upTo(5)) {
    case 0:
      return {{"key_up", more.pick<int>({0, 9, 55})}};
    case 1:
      return {{more.pick<std::string>({"move", "drag"}), {more.upTo(900), more.upTo(700)}}};
    case 2:
      return {{"scroll", more.upTo(6) - 3}};
    case 3:
      return {{"hold", more.chance(0.5) ? json::array({"shift", "option"}) : json::array()}};
    case 4:
      return {{more.pick<std::string>({"focus_lost", "window_lost"}),
               more.chance(0.5) ? kEditor : kChat}};
    default:
      return {{"fails",
               {{"pid", kEditor},
                {"attribute", more.pick<std::string>({"AXFocusedUIElement", "AXFocusedWindow"})},
                {"error", more.chance(0.7) ? json("cannot_complete") : json(nullptr)}}}};
  }
}

// Runs one seed; the failure message names it so that it can be replayed. The desktops of the
// situations added later (long reads, deliveries that wait for them, other keyboards, the
// situations above) come from a second stream of draws, so that without them a seed builds the
// same world and sends the same requests as it always did.
void runSeed(std::uint64_t seed, bool situations = true) {
  SCOPED_TRACE("seed " + std::to_string(seed));
  Dice dice{std::mt19937_64(seed)};
  Dice second{std::mt19937_64(seed ^ 0x9E3779B97F4A7C15u)};
  Dice* more = situations ? &second : nullptr;
  const json world = randomWorld(dice, more);
  sim::SimLoad loaded = sim::SimDesktop::fromJson(world.dump(), "random.json");
  ASSERT_TRUE(loaded) << loaded.error;
  sim::SimDesktop& desktop = *loaded.desktop;
  Session session(desktop, {"textport", "--daemon"});

  std::vector<Capture> captures;
  const double readDelay = world["apps"][0]["paste"]["read_delay"].get<double>();
  // When the last paste's application reads: until then a read may be that earlier paste's.
  double earlierReadAt = -1;
  for (int step = dice.upTo(8) + 4; step > 0; --step) {
    if (dice.chance(0.35)) {
      const json change = randomChange(dice, desktop);
      const auto problem = desktop.schedule(change.dump());
      ASSERT_FALSE(problem) << *problem << ": " << change.dump();
    }
    if (more && more->chance(0.3)) {
      const json situation = randomSituation(*more);
      const auto problem = desktop.schedule(situation.dump());
      ASSERT_FALSE(problem) << *problem << ": " << situation.dump();
    }

    json request;
    double budget = kInstantBudget;
    const Capture* used = nullptr;
    const int kind = dice.upTo(9);
    if (kind <= 2 || captures.empty()) {
      request = {{"action", "target"}, {"selection", dice.chance(0.8)}};
      budget = kTargetBudget;
    } else if (kind <= 6) {
      used = dice.chance(0.7) ? &captures.back() : &dice.pick(captures);
      json presented = used->answer;
      if (dice.chance(0.1)) presented["offset"] = presented.value("offset", 0) + 1;
      const std::uint32_t typed = desktop.counter(EventType::keyDown) - used->view.keys;
      request = {{"action", "deliver"},
                 {"target", presented},
                 {"text", "result ✓ /"},
                 {"allowed_key_events", dice.chance(0.8) ? typed : typed + 1}};
      budget = kDeliverBudget;
      if (more && more->chance(0.5)) {
        request["restore_after_read"] = true;
        request["transient"] = more->chance(0.5);
        budget = kReadDeliverBudget;
      }
    } else if (kind == 7) {
      request = {{"action", "copy"}, {"text", "copied"}};
    } else {
      request = {{"action", dice.pick<std::string>({"self_test", "permissions", "nope"})}};
    }

    const View before = used ? look(desktop, used->answer.value("pid", 0)) : View{};
    const std::size_t happeningsBefore = desktop.record().happenings.size();
    const std::size_t writesBefore = desktop.record().pasteboardWrites.size();
    const invariants::RequestWatch watch(desktop);
    std::istringstream input(request.dump() + "\n");
    std::ostringstream output;
    serve(input, output, session);
    const std::string answerLine = output.str();
    if (auto broken = watch.check(desktop, answerLine, budget)) {
      FAIL() << *broken << "\nrequest: " << request.dump();
    }
    const json answer = json::parse(answerLine);

    if (answer.value("status", "") == "paste_sent") {
      const double keystroke = desktop.postedEvents().back().time;
      // The application reads at most 2 s after the keystroke. Unless someone else writes first,
      // the delivery waits for that read, the read gets the result, and the answer says so. A read
      // of an earlier paste still due cannot be told apart.
      if (request.value("restore_after_read", false) && earlierReadAt < keystroke) {
        // The first write by someone else after the staging (textport's first "set" here).
        double othersWrote = std::numeric_limits<double>::infinity();
        const auto& writes = desktop.record().pasteboardWrites;
        bool staged = false;
        for (std::size_t i = writesBefore; i < writes.size(); ++i) {
          staged = staged || (writes[i].writer == "textport" && writes[i].operation == "set");
          if (staged && writes[i].writer != "textport") {
            othersWrote = std::min(othersWrote, writes[i].time);
          }
        }
        const auto& happenings = desktop.record().happenings;
        const auto first = std::find_if(
            happenings.begin() + static_cast<std::ptrdiff_t>(happeningsBefore), happenings.end(),
            [&](const auto& h) { return h.what == "app_reads" && h.time >= keystroke; });
        const bool read = first != happenings.end() && first->time < othersWrote;
        if (read) {
          ASSERT_EQ(first->detail, "result ✓ /") << "a paste read the user's old clipboard";
        }
        ASSERT_TRUE(read || othersWrote <= keystroke + kReadBound) << "restored before the read";
        ASSERT_EQ(answer.value("read", !read), read) << "the answer says otherwise about the read";
      }
      earlierReadAt = keystroke + readDelay;
    }
    if (request["action"] == "target" && answer.contains("captureToken")) {
      captures.push_back({answer, look(desktop, answer.value("pid", 0))});
    }
    if (used && answer.value("status", "") == "paste_sent") {
      const View& then = used->view;
      const std::string mode = used->answer.value("target_mode", "");
      ASSERT_EQ(before.front, std::optional<Pid>(used->answer.value("pid", 0)))
          << "pasted into an application that is no longer frontmost: " << request.dump();
      if (mode == "focused") {
        ASSERT_EQ(before.focused, then.focused) << "pasted after the focus moved";
        // The caret must be where the presented description says, whatever was captured.
        const json& shown = request["target"];
        const std::optional<Range> presented =
            shown.contains("offset")
                ? std::optional<Range>(Range{shown.value("offset", 0), shown.value("length", 0)})
                : std::nullopt;
        ASSERT_EQ(before.selection, presented) << "pasted where the caret is not as presented";
      } else {
        ASSERT_EQ(before.clicks, then.clicks) << "pasted after a click: " << mode;
        ASSERT_EQ(before.keys - then.keys, request["allowed_key_events"].get<std::uint32_t>())
            << "pasted after unannounced typing: " << mode;
      }
    }
  }
}

// Four batches, so a CI run can spread them; each stops at its first failing seed.
class RandomWorldBatch : public ::testing::TestWithParam<std::uint64_t> {};

TEST_P(RandomWorldBatch, EveryRequestKeepsTheRules) {
  constexpr std::uint64_t kSeedsPerBatch = 600;
  const std::uint64_t first = GetParam() * kSeedsPerBatch + 1;
  for (std::uint64_t seed = first; seed < first + kSeedsPerBatch && !HasFailure(); ++seed) {
    runSeed(seed);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomWorldBatch, ::testing::Values(0, 1, 2, 3));

// Any number of desktops from any first seed, given by TEXTPORT_RANDOM_DESKTOPS and
// TEXTPORT_RANDOM_FIRST_SEED (default 1,000,001); skipped without them. The long ctest label runs
// 10,000 of them; a failure names its seed, which runSeed replays alone.
TEST(RandomWorld, ManyDesktopsFromTheEnvironment) {
  const char* count = std::getenv("TEXTPORT_RANDOM_DESKTOPS");
  if (!count) GTEST_SKIP() << "set TEXTPORT_RANDOM_DESKTOPS to run";
  const char* first = std::getenv("TEXTPORT_RANDOM_FIRST_SEED");
  const std::uint64_t from = first ? std::strtoull(first, nullptr, 10) : 1000001;
  const std::uint64_t to = from + std::strtoull(count, nullptr, 10);
  for (std::uint64_t seed = from; seed < to && !HasFailure(); ++seed) runSeed(seed);
}

// The seeds that once found a fault, in the desktops they found it in: 573 and 1826, a newer writer
// just before the staging whose promised type cannot come back; 1366, another program's write
// taken for the Copy, whose real content then lands during a later paste wait; 5019402, a request
// that presented the description with its offset raised by one after the caret had moved to
// exactly that offset (the fresh description matched the presented one, so the paste was right).
TEST(RandomWorld, SeedsThatOnceFoundFaults) {
  for (std::uint64_t seed : {573u, 1366u, 1826u, 5019402u}) runSeed(seed, false);
}

}  // namespace
}  // namespace textport
