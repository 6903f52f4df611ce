// What every backend of the platform seam must do, as one typed suite. A backend instantiates
// it with a type that has:
//   static std::unique_ptr<Platform> make();       // a desktop with a frontmost application
//   static Pid applicationPid(Platform&);          // a running application it may inspect
// The suite saves the user's pasteboard before each case and puts it back after, so it can run
// on a real desktop. It posts one harmless key (F19) and one middle click at the pointer, and
// never the paste shortcut: on a real desktop that would paste into whatever is in front.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace textport::contract {

inline const std::string kPrivateType = "app.textport.test-binary";
inline const Bytes kBinary = {0x00, 0xFF, 0x7F, 0x80, 0x00, 0x0A, 0x0D};
inline constexpr std::uint16_t kHarmlessKey = 80;  // kVK_F19: no application acts on it

// The user's pasteboard, saved while it lives and put back when it goes.
class SavedPasteboard {
 public:
  explicit SavedPasteboard(Platform& platform) : platform_(platform) {
    for (const PasteboardItemReading& reading : platform_.pasteboardItems()) {
      PasteboardItem& item = saved_.emplace_back();
      for (const auto& representation : reading) {
        if (representation.data) item.emplace_back(representation.type, *representation.data);
      }
    }
  }
  ~SavedPasteboard() {
    platform_.clearPasteboard();
    if (!saved_.empty()) platform_.writePasteboardItems(saved_);
  }
  SavedPasteboard(const SavedPasteboard&) = delete;
  SavedPasteboard& operator=(const SavedPasteboard&) = delete;

 private:
  Platform& platform_;
  std::vector<PasteboardItem> saved_;
};

template <class Backend>
class PlatformContract : public ::testing::Test {
 protected:
  Platform& platform() { return *platform_; }

  // Writes the items on a cleared pasteboard and reads them back.
  std::vector<PasteboardItemReading> roundTrip(const std::vector<PasteboardItem>& items) {
    platform().clearPasteboard();
    EXPECT_TRUE(platform().writePasteboardItems(items));
    return platform().pasteboardItems();
  }

 private:
  std::unique_ptr<Platform> platform_ = Backend::make();
  RequestScope scope_{*platform_};
  SavedPasteboard saved_{*platform_};
};

TYPED_TEST_SUITE_P(PlatformContract);

TYPED_TEST_P(PlatformContract, PasteboardItemsComeBackInOrderWithTheirTypesAndBytes) {
  const std::vector<PasteboardItem> items = {
      {{kPlainTextType, Bytes{'f', 'i', 'r', 's', 't'}}, {kPrivateType, kBinary}},
      {{kPlainTextType, Bytes{'s', 'e', 'c', 'o', 'n', 'd'}}},
      {{kPrivateType, Bytes{}}},
  };
  const std::vector<PasteboardItemReading> read = this->roundTrip(items);
  ASSERT_EQ(read.size(), items.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    ASSERT_EQ(read[i].size(), items[i].size()) << "item " << i;
    for (std::size_t j = 0; j < items[i].size(); ++j) {
      EXPECT_EQ(read[i][j].type, items[i][j].first) << "item " << i << " type " << j;
      EXPECT_EQ(read[i][j].data, std::optional<Bytes>(items[i][j].second))
          << "item " << i << " type " << j;
    }
  }
  // Strings and data are read from the first item that lists the type.
  EXPECT_EQ(this->platform().pasteboardString(kPlainTextType), "first");
  EXPECT_EQ(this->platform().pasteboardData(kPrivateType), kBinary);
  EXPECT_EQ(this->platform().pasteboardString("app.textport.test-absent"), std::nullopt);
  this->roundTrip({{{kPrivateType, kBinary}}, {{kPlainTextType, Bytes{'t', 'w', 'o'}}}});
  EXPECT_EQ(this->platform().pasteboardString(kPlainTextType), "two");
}

TYPED_TEST_P(PlatformContract, StringsAndDataWrittenOnTheFirstItemRoundTrip) {
  Platform& platform = this->platform();
  const std::string text = "caf\xC3\xA9 \xE4\xB8\x96\xE7\x95\x8C / \"quoted\"";
  platform.clearPasteboard();
  EXPECT_TRUE(platform.pasteboardItems().empty());
  EXPECT_EQ(platform.pasteboardString(kPlainTextType), std::nullopt);
  ASSERT_TRUE(platform.setPasteboardString(text, kPlainTextType));
  ASSERT_TRUE(platform.setPasteboardData(kBinary, kPrivateType));
  EXPECT_EQ(platform.pasteboardItems().size(), 1u);
  EXPECT_EQ(platform.pasteboardString(kPlainTextType), text);
  EXPECT_EQ(platform.pasteboardData(kPlainTextType), Bytes(text.begin(), text.end()));
  EXPECT_EQ(platform.pasteboardData(kPrivateType), kBinary);
}

TYPED_TEST_P(PlatformContract, ChangeCountRisesWhenThePasteboardIsClearedAndWrittenNotWhenRead) {
  Platform& platform = this->platform();
  const std::int64_t before = platform.pasteboardChangeCount();
  const std::int64_t cleared = platform.clearPasteboard();
  EXPECT_GT(cleared, before);
  EXPECT_EQ(platform.pasteboardChangeCount(), cleared);
  ASSERT_TRUE(platform.setPasteboardString("x", kPlainTextType));
  const std::int64_t written = platform.pasteboardChangeCount();
  EXPECT_GE(written, cleared);
  platform.pasteboardItems();
  platform.pasteboardString(kPlainTextType);
  platform.pasteboardData(kPrivateType);
  EXPECT_EQ(platform.pasteboardChangeCount(), written);
  EXPECT_GT(platform.clearPasteboard(), written);
}

TYPED_TEST_P(PlatformContract, ClockIsMonotonicAndWaitsLastAtLeastAsLongAsAsked) {
  Platform& platform = this->platform();
  const double start = platform.now();
  EXPECT_GE(platform.now(), start);
  platform.sleep(0.05);
  const double slept = platform.now();
  EXPECT_GE(slept - start, 0.05);
  platform.runLoop(0.02);
  EXPECT_GE(platform.now() - slept, 0.02);
}

TYPED_TEST_P(PlatformContract, ElementsOfOneApplicationAreEqualAndKnowTheirPid) {
  Platform& platform = this->platform();
  const Pid pid = TypeParam::applicationPid(platform);
  const Element first = platform.createApplicationElement(pid);
  ASSERT_TRUE(first);
  EXPECT_TRUE(first == platform.createApplicationElement(pid));
  EXPECT_FALSE(first == platform.createSystemWideElement());
  EXPECT_EQ(platform.pidOfElement(first), pid);
  EXPECT_EQ(platform.setMessagingTimeout(first, 0.3f), kAXErrorSuccess);

  const Element none;
  EXPECT_EQ(platform.setMessagingTimeout(none, 0.3f), kAXErrorIllegalArgument);
  EXPECT_EQ(platform.copyAttributeValue(none, "AXRole").error, kAXErrorIllegalArgument);
  EXPECT_EQ(platform.performAction(none, "AXPress"), kAXErrorIllegalArgument);
  EXPECT_EQ(platform.pidOfElement(none), std::nullopt);
}

TYPED_TEST_P(PlatformContract, FrontmostApplicationIsARunningApplication) {
  Platform& platform = this->platform();
  const std::optional<RunningApp> front = platform.frontmostApplication();
  ASSERT_TRUE(front.has_value());
  EXPECT_GT(front->pid, 0);
  const std::optional<RunningApp> running = platform.runningApplication(front->pid);
  ASSERT_TRUE(running.has_value());
  EXPECT_EQ(running->pid, front->pid);
  EXPECT_EQ(running->bundleIdentifier, front->bundleIdentifier);
}

TYPED_TEST_P(PlatformContract, PostedKeystrokesAndClicksRaiseTheCounters) {
  Platform& platform = this->platform();
  const EventSource source = platform.createEventSource();
  const std::uint32_t keys = platform.eventCounter(EventType::keyDown);
  const Event down = platform.createKeyboardEvent(source, kHarmlessKey, true);
  const Event up = platform.createKeyboardEvent(source, kHarmlessKey, false);
  ASSERT_TRUE(down && up);
  platform.postEvent(down);
  platform.postEvent(up);
  platform.runLoop(0.05);  // the session counts events as they pass through it
  EXPECT_EQ(platform.eventCounter(EventType::keyDown) - keys, 1u);

  const std::optional<Point> pointer = platform.pointerLocation();
  ASSERT_TRUE(pointer.has_value());
  const std::uint32_t clicks = platform.eventCounter(EventType::otherMouseDown);
  platform.postEvent(
      platform.createMouseEvent(source, EventType::otherMouseDown, *pointer, MouseButton::center));
  platform.runLoop(0.05);
  EXPECT_EQ(platform.eventCounter(EventType::otherMouseDown) - clicks, 1u);
}

TYPED_TEST_P(PlatformContract, UuidsAreFreshAndUpperCaseInFiveGroups) {
  const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}");
  const std::string first = this->platform().newUuid();
  EXPECT_TRUE(std::regex_match(first, form)) << first;
  EXPECT_NE(this->platform().newUuid(), first);
}

REGISTER_TYPED_TEST_SUITE_P(PlatformContract, PasteboardItemsComeBackInOrderWithTheirTypesAndBytes,
                            StringsAndDataWrittenOnTheFirstItemRoundTrip,
                            ChangeCountRisesWhenThePasteboardIsClearedAndWrittenNotWhenRead,
                            ClockIsMonotonicAndWaitsLastAtLeastAsLongAsAsked,
                            ElementsOfOneApplicationAreEqualAndKnowTheirPid,
                            FrontmostApplicationIsARunningApplication,
                            PostedKeystrokesAndClicksRaiseTheCounters,
                            UuidsAreFreshAndUpperCaseInFiveGroups);

}  // namespace textport::contract
