// Accessibility on the simulated desktop: live text fields, trust, and messaging timeouts with
// what the record says about them. Handles of one application being equal is proven by the
// platform contract; the system-wide element, focus and text markers by the element-helper and
// capture tests; the accessibility switch by the chat scenario files.
#include <gtest/gtest.h>

#include "sim_fixture.h"

namespace textport::sim {
namespace {

using namespace testing;

TEST(SimAccessibility, TextFieldDerivesItsAttributesUnlessOverriddenOrFailing) {
  auto sim = loadWorld(
      R"({"apps": [{"pid": 10, "latency": 0.2, "tree": {"children": [{"id": "w", "children": [
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
  const struct {
    const char* rule;
    const char* app;        // spliced into the application
    float elementTimeout;   // 0: none set on the application's handle
    float processTimeout;   // 0: none set through the system-wide element
    bool freshHandle;       // asked through a new handle instead of a copy of the first
    AXError result;
    double cost;  // virtual seconds the request takes
    TimeoutSource source;
  } cases[] = {
      {"as slow as the timeout", R"("latency": 0.25)", 0.25f, 0, false, kOk, 0.25, kElement},
      {"slower", R"("latency": 0.5)", 0.3f, 0, false, kTimedOut, double(0.3f), kElement},
      {"hung", R"("hung": true)", 0.3f, 0, false, kTimedOut, double(0.3f), kElement},
      {"process default", R"("hung": true)", 0, 0.15f, false, kTimedOut, double(0.15f),
       TimeoutSource::process},
      {"the element's beats the process's", R"("hung": true)", 0.08f, 0.15f, false, kTimedOut,
       double(0.08f), kElement},
      {"platform default", R"("hung": true)", 0, 0, false, kTimedOut, 6.0, TimeoutSource::platform},
      {"a fresh handle has none of its own", R"("hung": true)", 0.3f, 0, true, kTimedOut, 6.0,
       TimeoutSource::platform},
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
    EXPECT_EQ(sim->record().requestsOnPlatformDefault(), c.source == TimeoutSource::platform);
  }
}

}  // namespace
}  // namespace textport::sim
