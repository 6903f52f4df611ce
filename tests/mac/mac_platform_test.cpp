// The rest of the macOS backend that needs no other application: the clock, UUIDs, the
// workspace, accessibility elements of this very process and event objects (never posted).
#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <regex>

#include "platform/host_platform.h"

namespace textport {
namespace {

class MacPlatformTest : public ::testing::Test {
 protected:
  void SetUp() override { platform_->requestStarted(); }
  void TearDown() override { platform_->requestEnded(); }
  std::unique_ptr<Platform> platform_ = makeHostPlatform();
};

TEST_F(MacPlatformTest, SleepAndRunLoopTurnsLastAtLeastAsLongAsAsked) {
  const double start = platform_->now();
  platform_->sleep(0.05);
  const double slept = platform_->now();
  EXPECT_GE(slept - start, 0.05);
  platform_->runLoop(0.02);
  EXPECT_GE(platform_->now() - slept, 0.02);
}

TEST_F(MacPlatformTest, UuidsAreFreshAndUpperCaseInFiveGroups) {
  const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}");
  const std::string first = platform_->newUuid();
  EXPECT_TRUE(std::regex_match(first, form)) << first;
  EXPECT_NE(platform_->newUuid(), first);
}

TEST_F(MacPlatformTest, WorkspaceKnowsTheFrontmostApplicationAndThisProcess) {
  const auto frontmost = platform_->frontmostApplication();
  ASSERT_TRUE(frontmost.has_value());
  EXPECT_GT(frontmost->pid, 0);
  const auto self = platform_->runningApplication(getpid());
  ASSERT_TRUE(self.has_value());
  EXPECT_EQ(self->pid, getpid());
}

TEST_F(MacPlatformTest, ApplicationElementsOfOneProcessAreEqualAndKnowTheirPid) {
  const Element first = platform_->createApplicationElement(getpid());
  const Element second = platform_->createApplicationElement(getpid());
  ASSERT_TRUE(first);
  EXPECT_TRUE(first == second);
  EXPECT_FALSE(first == platform_->createSystemWideElement());
  EXPECT_EQ(platform_->pidOfElement(first), getpid());
  EXPECT_EQ(platform_->setMessagingTimeout(first, 0.3f), kAXErrorSuccess);
}

TEST_F(MacPlatformTest, EmptyHandlesAreRefusedWithIllegalArgument) {
  const Element none;
  EXPECT_EQ(platform_->setMessagingTimeout(none, 0.3f), kAXErrorIllegalArgument);
  EXPECT_EQ(platform_->copyAttributeValue(none, "AXRole").error, kAXErrorIllegalArgument);
  EXPECT_EQ(platform_->setAttributeValue(none, "AXEnhancedUserInterface", true),
            kAXErrorIllegalArgument);
  EXPECT_EQ(platform_->performAction(none, "AXPress"), kAXErrorIllegalArgument);
  EXPECT_EQ(platform_->pidOfElement(none), std::nullopt);
}

TEST_F(MacPlatformTest, EventsCanBeMadeWithAndWithoutASource) {
  const EventSource source = platform_->createEventSource();
  EXPECT_TRUE(source);
  EXPECT_TRUE(platform_->createKeyboardEvent(source, 9, true));
  EXPECT_TRUE(platform_->createKeyboardEvent(EventSource(), 9, false));
  EXPECT_TRUE(platform_->createMouseEvent(source, EventType::leftMouseDown, Point{10, 10},
                                          MouseButton::left));
  EXPECT_TRUE(platform_->pointerLocation().has_value());
}

}  // namespace
}  // namespace textport
