// The composer search: nested candidates, two of them, a window without bounds, and a walk that
// cannot finish. Which single element is a composer (role, state, place and size in the window)
// is shown by a chat scenario with one candidate per application.
#include "accessibility/composer_search.h"

#include <gtest/gtest.h>

#include "accessibility/element_helpers.h"
#include "support/desk.h"

namespace textport {
namespace {

using testing::Desk;

// One window holding the given elements, of 1000 x 800 at the origin unless told otherwise.
std::string windowWith(const std::string& elements,
                       const std::string& frame = R"("frame": [0, 0, 1000, 800], )") {
  return R"({"apps": [{"pid": 1, "tree": {"children": [{"id": "w", )" + frame + R"("children": [)" +
         elements + "]}]}}]}";
}

std::optional<std::string> composerIn(Desk& desk) {
  auto found = findComposer(desk.sim(), sim::makeElement(sim::ElementKind::node, 1, "w"));
  if (!found) return std::nullopt;
  return stringAttribute(desk.sim(), *found, "AXIdentifier");
}

TEST(ComposerSearch, FindsANestedComposerButNotTwoNorOneInAWindowWithoutBounds) {
  const std::string nested =
      R"({"id": "g1", "children": [{"id": "g2", "children": [{"id": "g3", "children": [
          {"id": "c", "identifier": "deep", "role": "AXTextArea", "frame": [0, 600, 600, 100],
           "children": [{"id": "inner", "role": "AXTextArea", "frame": [0, 650, 600, 50])";
  Desk one(windowWith(nested + R"(, "enabled": false}]}]}]}]})"));
  EXPECT_EQ(composerIn(one), "deep");
  // A text area inside another one is seen too, and two candidates are no answer.
  Desk two(windowWith(nested + "}]}]}]}]}"));
  EXPECT_EQ(composerIn(two), std::nullopt);
  // A window without a rectangle is not even walked.
  Desk unbounded(windowWith(nested + R"(, "enabled": false}]}]}]}]})", ""));
  EXPECT_EQ(composerIn(unbounded), std::nullopt);
  EXPECT_EQ(unbounded.sim().record().count("attribute", "AXChildren"), 0u);
}

TEST(ComposerSearch, GivesNothingWhenTheWalkCannotFinish) {
  std::string many =
      R"({"id": "c", "identifier": "c", "role": "AXTextArea", "frame": [0, 600, 600, 100]})";
  for (int i = 0; i < 499; ++i) many += R"(, {"id": "e)" + std::to_string(i) + R"("})";
  Desk tooMany(windowWith(many));  // the window and 500 elements: one more than the limit
  EXPECT_EQ(composerIn(tooMany), std::nullopt);
  const auto requestsOver = tooMany.sim().record().requests.size();

  std::string fewer = many.substr(0, many.rfind(", {"));
  Desk exactly(windowWith(fewer));  // the window and 499 elements: exactly the limit
  EXPECT_EQ(composerIn(exactly), "c");
  EXPECT_GT(requestsOver, 1000u);

  // Slow elements run the walk past its 0.7 s deadline.
  std::string slowGroup =
      R"({"id": "a", "latency": 0.05, "children": [{"id": "b0", "latency": 0.05})";
  for (int i = 1; i < 7; ++i) {
    slowGroup += R"(, {"id": "b)" + std::to_string(i) + R"(", "latency": 0.05})";
  }
  Desk slow(windowWith(slowGroup + R"(]}, {"id": "c", "identifier": "c", "role": "AXTextArea",
      "frame": [0, 600, 600, 100]})"));
  EXPECT_EQ(composerIn(slow), std::nullopt);
  EXPECT_LT(slow.sim().time(), 0.7 + 7 * 0.08);
}

}  // namespace
}  // namespace textport
