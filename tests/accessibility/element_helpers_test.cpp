// The element helpers: rectangles, frontmost application, selected-text reading. Whose focused
// element is taken (only the system-wide fallback is compared with the application's process) is
// shown by a scenario; the fallback's short timeout by the capture budget of the target tests.
#include "accessibility/element_helpers.h"

#include <gtest/gtest.h>

#include "accessibility/selected_text.h"
#include "support/desk.h"

namespace textport {
namespace {

using testing::Desk;

Element node(Pid pid, const char* id) {
  return sim::makeElement(sim::ElementKind::node, pid, id);
}

TEST(ElementRect, NeedsAPositionAndAPositiveSize) {
  struct Case {
    const char* attributes;
    std::optional<Rect> rect;
  };
  const Case cases[] = {
      {R"({"AXPosition": {"point": [-1440, -20]}, "AXSize": {"size": [300, 200]}})",
       Rect{{-1440, -20}, {300, 200}}},
      {R"({"AXPosition": {"point": [0, 0]}, "AXSize": {"size": [0, 200]}})", std::nullopt},
      {R"({"AXPosition": {"point": [0, 0]}, "AXSize": {"size": [300, -1]}})", std::nullopt},
      {R"({"AXPosition": {"point": [0, 0]}})", std::nullopt},
      {R"({"AXSize": {"size": [300, 200]}})", std::nullopt},
      {R"({"AXPosition": {"size": [0, 0]}, "AXSize": {"size": [300, 200]}})", std::nullopt},
      {R"({"AXPosition": [0, 0], "AXSize": {"size": [300, 200]}})", std::nullopt},
  };
  for (const Case& c : cases) {
    Desk desk(
        std::string(R"({"apps": [{"pid": 1, "tree": {"children": [{"id": "w", "attributes": )") +
        c.attributes + "}]}}]}");
    EXPECT_EQ(elementRect(desk.sim(), node(1, "w")), c.rect) << c.attributes;
  }
}

TEST(Frontmost, PrefersTheAccessibilityAnswerAndFallsBackToTheWorkspace) {
  Desk desk(R"({"frontmost": 2, "apps": [{"pid": 2}]})");
  EXPECT_EQ(frontmost(desk.sim())->pid, 2);
  // A process the workspace does not know: nothing, and the workspace is not asked.
  desk.sim().world().system.attributes["AXFocusedApplication"] =
      sim::makeElement(sim::ElementKind::application, 99);
  EXPECT_EQ(frontmost(desk.sim()), std::nullopt);
  EXPECT_TRUE(desk.sim().record().waits.empty());
  // No accessibility answer: a short run-loop turn, then the workspace.
  desk.sim().world().system.errors["AXFocusedApplication"] = kAXErrorCannotComplete;
  EXPECT_EQ(frontmost(desk.sim())->pid, 2);
  ASSERT_EQ(desk.sim().record().waits.size(), 1u);
  EXPECT_TRUE(desk.sim().record().waits[0].runLoop);
  EXPECT_DOUBLE_EQ(desk.sim().record().waits[0].seconds, 0.005);
}

TEST(SelectedText, ReadsTheAttributeFirstAndTextMarkersOnlyWhenItIsEmpty) {
  // An empty selection whose text markers give the attributed string `answer`.
  const auto markers = [](const std::string& answer) {
    return R"("value": "abc", "selected_range": [1, 0], "attributes": {"AXSelectedTextMarkerRange":
        {"marker": "m"}}, "parameterized": {"AXAttributedStringForTextMarkerRange": )" +
           answer + "}";
  };
  struct Case {
    std::string field;
    std::optional<std::string> text;
    std::size_t markerRequests;
  };
  const Case cases[] = {
      {R"("value": "a   b", "selected_range": [1, 3])", "   ", 0},
      {R"("value": "abc", "selected_range": [0, 3], "text_marker": true)", "abc", 1},
      {markers(R"({"attributed": "from markers"})"), "from markers", 1},
      {markers(R"({"attributed": ""})"), std::nullopt, 1},
      {markers(R"("plain string")"), std::nullopt, 1},
      {R"("role": "AXGroup")", std::nullopt, 0},
  };
  for (const Case& c : cases) {
    Desk desk(std::string(R"({"apps": [{"pid": 1, "tree": {"children": [{"id": "w", "children": [
        {"id": "f", "role": "AXTextArea", )") +
              c.field + "}]}]}}]}");
    EXPECT_EQ(selectedText(desk.sim(), node(1, "f")), c.text) << c.field;
    EXPECT_EQ(desk.sim().record().count("parameterized", "AXAttributedStringForTextMarkerRange"),
              c.markerRequests)
        << c.field;
  }
}

}  // namespace
}  // namespace textport
