// Accessibility on the simulated desktop: live text fields, messaging timeouts and what the
// record says about them, element identity, trust, the accessibility switch and text markers.
#include <gtest/gtest.h>

#include "sim_fixture.h"

namespace textport::sim {
namespace {

using testing::node;
using testing::oneField;
using testing::world;

TEST(SimAccessibility, TextFieldDerivesItsTextAttributesFromValueAndSelection) {
  auto sim = world(R"({"apps": [{"pid": 10, "tree": {"children": [{"id": "w", "children": [
      {"id": "f", "role": "AXTextArea", "value": "a😀bc", "selected_range": [1, 3]}]}]}}]})");
  const Element field = node("f");
  EXPECT_EQ(*sim->copyAttributeValue(field, "AXValue").value.as<std::string>(), "a😀bc");
  // Ranges count UTF-16 code units: the emoji is two.
  EXPECT_EQ(*sim->copyAttributeValue(field, "AXNumberOfCharacters").value.as<std::int64_t>(), 5);
  EXPECT_EQ(*sim->copyAttributeValue(field, "AXSelectedTextRange").value.as<Range>(),
            (Range{1, 3}));
  EXPECT_EQ(*sim->copyAttributeValue(field, "AXSelectedText").value.as<std::string>(), "😀b");
  EXPECT_EQ(sim->copyAttributeValue(field, "AXSubrole").error, kAXErrorAttributeUnsupported);
}

TEST(SimAccessibility, OverridesAndErrorsWinOverDerivedAttributes) {
  auto sim = world(
      oneField().replace(oneField().find("\"value\""), 0,
                         R"("attributes": {"AXRole": {"int": 3}, "AXParent": {"element": "win"}},
                                         "errors": {"AXValue": "cannot_complete"}, )"));
  const Element field = node("field");
  EXPECT_EQ(*sim->copyAttributeValue(field, "AXRole").value.as<std::int64_t>(), 3);
  EXPECT_EQ(sim->copyAttributeValue(field, "AXValue").error, kAXErrorCannotComplete);
  EXPECT_TRUE(sim->copyAttributeValue(field, "AXValue").value.isNothing());
  EXPECT_EQ(*sim->copyAttributeValue(field, "AXParent").value.as<Element>(), node("win"));
}

TEST(SimAccessibility, HandlesForTheSameObjectAreEqualAndCarryTheirOwnTimeouts) {
  auto sim = world(oneField(R"("latency": 0.2)"));
  const Element app = sim->createApplicationElement(10);
  const Element focused = *sim->copyAttributeValue(app, "AXFocusedUIElement").value.as<Element>();
  EXPECT_EQ(focused, node("field"));
  EXPECT_EQ(app, sim->createApplicationElement(10));
  EXPECT_FALSE(app == sim->createApplicationElement(11));
  EXPECT_FALSE(focused == node("win"));

  sim->setMessagingTimeout(focused, 0.1f);
  const Element copy = focused;  // a copy shares the timeout
  EXPECT_EQ(sim->copyAttributeValue(copy, "AXRole").error, kAXErrorCannotComplete);
  // A fresh handle for the same field has none of its own: the platform's 6 s applies.
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
  auto sim = world(oneField(c.app));
  if (c.processTimeout > 0)
    sim->setMessagingTimeout(sim->createSystemWideElement(), c.processTimeout);
  const Element app = sim->createApplicationElement(10);
  if (c.elementTimeout > 0) sim->setMessagingTimeout(app, c.elementTimeout);
  const double before = sim->time();
  EXPECT_EQ(sim->copyAttributeValue(app, "AXFocusedWindow").error, c.result);
  EXPECT_DOUBLE_EQ(sim->time() - before, c.cost);
  EXPECT_EQ(sim->record().requests.back().timeoutSource, c.source);
  EXPECT_EQ(sim->record().requests.back().result, c.result);
}

INSTANTIATE_TEST_SUITE_P(
    Table, SimTimeouts,
    ::testing::Values(TimeoutCase{"fast", R"("latency": 0.05)", 0.3f, 0, kAXErrorSuccess, 0.05,
                                  TimeoutSource::element},
                      TimeoutCase{"equalToTimeoutStillAnswers", R"("latency": 0.25)", 0.25f, 0,
                                  kAXErrorSuccess, 0.25, TimeoutSource::element},
                      TimeoutCase{"slower", R"("latency": 0.5)", 0.3f, 0, kAXErrorCannotComplete,
                                  double(0.3f), TimeoutSource::element},
                      TimeoutCase{"hung", R"("hung": true)", 0.3f, 0, kAXErrorCannotComplete,
                                  double(0.3f), TimeoutSource::element},
                      TimeoutCase{"processDefault", R"("hung": true)", 0, 0.15f,
                                  kAXErrorCannotComplete, double(0.15f), TimeoutSource::process},
                      TimeoutCase{"elementBeatsProcess", R"("hung": true)", 0.08f, 0.15f,
                                  kAXErrorCannotComplete, double(0.08f), TimeoutSource::element},
                      TimeoutCase{"platformDefault", R"("hung": true)", 0, 0,
                                  kAXErrorCannotComplete, 6.0, TimeoutSource::platform}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(SimAccessibility, UntrustedProcessGetsApiDisabledWithoutWaiting) {
  auto sim = world(oneField(R"("latency": 0.2)", R"("trusted": false)"));
  EXPECT_FALSE(sim->isProcessTrusted());
  EXPECT_EQ(sim->copyAttributeValue(node("field"), "AXValue").error, kAXErrorAPIDisabled);
  EXPECT_EQ(sim->time(), 0);
}

TEST(SimAccessibility, SystemWideElementAnswersTheFrontmostApplicationAndItsFocus) {
  auto sim = world(oneField());
  const Element system = sim->createSystemWideElement();
  const AXResult app = sim->copyAttributeValue(system, "AXFocusedApplication");
  ASSERT_TRUE(app.ok());
  EXPECT_EQ(sim->pidOfElement(*app.value.as<Element>()), 10);
  EXPECT_EQ(*sim->copyAttributeValue(system, "AXFocusedUIElement").value.as<Element>(),
            node("field"));
  sim->setFrontmost(std::nullopt);
  EXPECT_EQ(sim->copyAttributeValue(system, "AXFocusedApplication").error, kAXErrorNoValue);
  EXPECT_FALSE(sim->frontmostApplication());
}

TEST(SimAccessibility, HiddenFocusAndTreeAppearOnlyAfterTheSwitch) {
  auto sim = world(oneField(R"("accessibility": {"manual_accessibility": "attribute_unsupported",
      "focus_needs_switch": true, "tree_needs_switch": true})"));
  const Element app = sim->createApplicationElement(10);
  EXPECT_EQ(sim->copyAttributeValue(app, "AXFocusedUIElement").error, kAXErrorNoValue);
  EXPECT_TRUE(sim->copyAttributeValue(node("win"), "AXChildren").value.as<ValueList>()->empty());
  EXPECT_EQ(sim->setAttributeValue(app, "AXManualAccessibility", true),
            kAXErrorAttributeUnsupported);
  EXPECT_EQ(sim->setAttributeValue(app, "AXEnhancedUserInterface", true), kAXErrorSuccess);
  EXPECT_TRUE(sim->copyAttributeValue(app, "AXFocusedUIElement").ok());
  EXPECT_EQ(sim->copyAttributeValue(node("win"), "AXChildren").value.as<ValueList>()->size(), 1u);
}

TEST(SimAccessibility, SettingFocusedMovesTheApplicationsFocus) {
  auto sim = world(oneField());
  EXPECT_EQ(sim->setAttributeValue(node("win"), "AXFocused", true), kAXErrorSuccess);
  EXPECT_EQ(sim->focusedId(10), "win");
  EXPECT_EQ(sim->setAttributeValue(node("field"), "AXTitle", "x"), kAXErrorAttributeUnsupported);
}

TEST(SimAccessibility, TextMarkerRouteGivesTheSelectionOnlyForItsOwnMarker) {
  auto sim = world(R"({"apps": [{"pid": 10, "tree": {"children": [{"id": "w", "children": [
      {"id": "web", "role": "AXTextArea", "value": "one two", "selected_range": [4, 3],
       "text_marker": true}]}]}}]})");
  const Element web = node("web");
  EXPECT_FALSE(sim->copyAttributeValue(web, "AXSelectedText").ok());
  const AXResult marker = sim->copyAttributeValue(web, "AXSelectedTextMarkerRange");
  ASSERT_NE(marker.value.as<Opaque>(), nullptr);
  const AXResult text = sim->copyParameterizedAttributeValue(
      web, "AXAttributedStringForTextMarkerRange", marker.value);
  EXPECT_EQ(text.value.as<AttributedString>()->text, "two");
  EXPECT_EQ(sim->copyParameterizedAttributeValue(web, "AXAttributedStringForTextMarkerRange",
                                                 makeMarker("other"))
                .error,
            kAXErrorIllegalArgument);
}

}  // namespace
}  // namespace textport::sim
