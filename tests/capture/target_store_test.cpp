// The activity counters a captured target keeps. The store's capacity, that a fifth capture
// forgets every earlier token and that a token is taken once are proven by scenario files.
#include "capture/target_store.h"

#include <gtest/gtest.h>

#include "capture/activity_counters.h"
#include "support/desk.h"

namespace textport {
namespace {

using testing::Desk;

// The three button counters are summed, wrapping past 2^32; only presses count.
TEST(ActivityCounters, StoreRecordsTheSummedButtonAndKeyPressesAtCapture) {
  Desk desk(R"({"counters": {"left_mouse_down": 4294967295, "right_mouse_down": 2,
                             "other_mouse_down": 1, "key_down": 17}})");
  auto record = desk.session.capturedElements.take(desk.session.capturedElements.insert(
      desk.sim(), sim::makeElement(sim::ElementKind::node, 1, "f"), std::nullopt,
      TargetMode::windowPaste));
  ASSERT_TRUE(record);
  EXPECT_EQ(record->activity.mouse, 2u);
  EXPECT_EQ(record->activity.keys, 17u);
  for (const char* entry :
       {R"({"key": {"code": 56, "flags": 131072}})", R"({"click": {"button": "right"}})",
        R"({"click": {"button": "other"}})", R"({"key": 0})"}) {
    ASSERT_FALSE(desk.sim().schedule(entry));
  }
  desk.sim().drainTimeline();
  EXPECT_EQ(mouseCount(desk.sim()) - record->activity.mouse, 2u);
  EXPECT_EQ(keyCount(desk.sim()) - record->activity.keys, 2u);
}

}  // namespace
}  // namespace textport
