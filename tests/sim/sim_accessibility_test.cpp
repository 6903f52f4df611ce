// Accessibility on the simulated desktop: live text fields, messaging timeouts
// and what the record says about them, element identity and trust. The system-wide
// element, focus and text markers are proven by the element-helper and capture
// tests; the accessibility switch by the chat scenario files.
#include <gtest/gtest.h>

#include "sim_fixture.h"

namespace textport::sim {
namespace {

using namespace testing;

TEST(SimAccessibility, TextFieldDerivesItsAttributesUnlessOverriddenOrFailing) {
  auto sim = loadWorld(
      R"({"apps": [{"pid": 10, "tree": {"children": [{"id": "w", "children": [
      {"id": "f", "role": "AXTextArea", "value": "a😀bc", "selected_range": [1, 3]},
      {"id": "g", "value": "x", "attributes": {"AXRole": {"int": 3}, "AXParent": {"element": "f"}},
       "errors": {"AXValue": "cannot_complete"}}]}]}}]})");
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
}

TEST(SimAccessibility, HandlesForTheSameObjectAreEqualAndCarryTheirOwnTimeouts) {
  auto sim = loadWorld(oneField(R"("latency": 0.2)"));
  const Element app = sim->createApplicationElement(10);
  const Element focused = *sim->copyAttributeValue(app, "AXFocusedUIElement").value.as<Element>();
  EXPECT_EQ(focused, node("field"));
  EXPECT_EQ(app, sim->createApplicationElement(10));
  EXPECT_FALSE(app == sim->createApplicationElement(11));
  EXPECT_FALSE(focused == node("win"));

  sim->setMessagingTimeout(focused, 0.1f);
  const Element copy = focused;  // a copy shares the timeout
  EXPECT_EQ(sim->copyAttributeValue(copy, "AXRole").error, kAXErrorCannotComplete);
  // A fresh handle for the same field has none of its own: the platform's 6 s
  // applies.
  EXPECT_TRUE(sim->copyAttributeValue(node("field"), "AXRole").ok());
  const auto& requests = sim->record().requests;
  EXPECT_EQ(requests[requests.size() - 2].timeoutSource, TimeoutSource::element);
  EXPECT_EQ(requests.back().timeoutSource, TimeoutSource::platform);
  EXPECT_EQ(sim->record().requestsOnPlatformDefault(), 2u);
}

struct TimeoutCase {
  const char* name;
  const char* app;       // spliced into the application
  float elementTimeout;  // 0: none set on the element
  float processTimeout;  // 0: none set through the system-wide element
  AXError result;
  double cost;  // virtual seconds the request takes
  TimeoutSource source;
};

class SimTimeouts : public ::testing::TestWithParam<TimeoutCase> {};

TEST_P(SimTimeouts, RequestCostsItsLatencyOrExactlyTheTimeoutInForce) {
  const TimeoutCase& c = GetParam();
  auto sim = loadWorld(oneField(c.app));
  if (c.processTimeout > 0)
    sim->setMessagingTimeout(sim->createSystemWideElement(), c.processTimeout);
  const Element app = sim->createApplicationElement(10);
  if (c.elementTimeout > 0) sim->setMessagingTimeout(app, c.elementTimeout);
  EXPECT_EQ(sim->copyAttributeValue(app, "AXFocusedWindow").error, c.result);
  EXPECT_DOUBLE_EQ(sim->time(), c.cost);
  EXPECT_EQ(sim->record().requests.back().timeoutSource, c.source);
  EXPECT_EQ(sim->record().requests.back().result, c.result);
}

constexpr AXError kOk = kAXErrorSuccess, kTimedOut = kAXErrorCannotComplete;
constexpr auto kElement = TimeoutSource::element;
const TimeoutCase kTimeouts[] = {
    {"equalToTimeoutStillAnswers", R"("latency": 0.25)", 0.25f, 0, kOk, 0.25, kElement},
    {"slower", R"("latency": 0.5)", 0.3f, 0, kTimedOut, double(0.3f), kElement},
    {"hung", R"("hung": true)", 0.3f, 0, kTimedOut, double(0.3f), kElement},
    {"processDefault", R"("hung": true)", 0, 0.15f, kTimedOut, double(0.15f), TimeoutSource::process},
    {"elementBeatsProcess", R"("hung": true)", 0.08f, 0.15f, kTimedOut, double(0.08f), kElement},
    {"platformDefault", R"("hung": true)", 0, 0, kTimedOut, 6.0, TimeoutSource::platform},
};
INSTANTIATE_TEST_SUITE_P(Table, SimTimeouts, ::testing::ValuesIn(kTimeouts),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(SimAccessibility, UntrustedProcessGetsApiDisabledWithoutWaiting) {
  auto sim = loadWorld(oneField(R"("latency": 0.2)", R"("trusted": false)"));
  EXPECT_FALSE(sim->isProcessTrusted());
  EXPECT_EQ(sim->copyAttributeValue(node("field"), "AXValue").error, kAXErrorAPIDisabled);
  EXPECT_EQ(sim->time(), 0);
}

}  // namespace
}  // namespace textport::sim
