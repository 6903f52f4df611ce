// What every backend of the platform seam must do, as one typed suite. A backend instantiates
// it with a type that has:
//   static std::unique_ptr<Platform> make();       // a desktop with a frontmost application
//   static Pid applicationPid(Platform&);          // a running application it may inspect
// and, where its desktop differs:
//   static constexpr std::uint16_t kHarmlessKey;   // a key no application acts on (F19)
//   static constexpr bool kOneItem;                // the pasteboard keeps one item (X11)
// The suite saves the user's pasteboard before each case and puts it back after, so it can run
// on a real desktop. It posts one harmless key and one middle click at the pointer, and never
// the paste shortcut: on a real desktop that would paste into whatever is in front.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace textport::contract {

inline const std::string kPrivateType = "app.textport.test-binary";
inline const Bytes kBinary = {0x00, 0xFF, 0x7F, 0x80, 0x00, 0x0A, 0x0D};

template <class Backend>
constexpr std::uint16_t harmlessKey() {
  if constexpr (requires { Backend::kHarmlessKey; }) return Backend::kHarmlessKey;
  return 80;  // kVK_F19
}

// The items as a desktop with one item reads them back: the first item's types, then the types
// of later items that it does not list yet.
template <class Backend>
std::vector<PasteboardItem> asKept(const std::vector<PasteboardItem>& items) {
  if constexpr (!requires { Backend::kOneItem; }) return items;
  PasteboardItem merged;
  for (const PasteboardItem& item : items) {
    for (const auto& pair : item) {
      if (std::none_of(merged.begin(), merged.end(),
                       [&](const auto& kept) { return kept.first == pair.first; })) {
        merged.push_back(pair);
      }
    }
  }
  return {merged};
}

// A reading's representations of the given types, in the reading's order. A desktop may list
// more types than were written (X11 serves plain text under its alias names too).
inline PasteboardItemReading onlyTypesOf(const PasteboardItemReading& reading,
                                         const PasteboardItem& written) {
  PasteboardItemReading kept;
  for (const PasteboardRepresentation& representation : reading) {
    if (std::any_of(written.begin(), written.end(),
                    [&](const auto& pair) { return pair.first == representation.type; })) {
      kept.push_back(representation);
    }
  }
  return kept;
}

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
  const std::vector<PasteboardItem> written = {
      {{kPlainTextType, Bytes{'f', 'i', 'r', 's', 't'}}, {kPrivateType, kBinary}},
      {{kPlainTextType, Bytes{'s', 'e', 'c', 'o', 'n', 'd'}}},
      {{kPrivateType, Bytes{}}},
  };
  const std::vector<PasteboardItemReading> read = this->roundTrip(written);
  const std::vector<PasteboardItem> items = asKept<TypeParam>(written);
  ASSERT_EQ(read.size(), items.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    const PasteboardItemReading reading = onlyTypesOf(read[i], items[i]);
    ASSERT_EQ(reading.size(), items[i].size()) << "item " << i;
    for (std::size_t j = 0; j < items[i].size(); ++j) {
      EXPECT_EQ(reading[j].type, items[i][j].first) << "item " << i << " type " << j;
      EXPECT_EQ(reading[j].data, std::optional<Bytes>(items[i][j].second))
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

TYPED_TEST_P(PlatformContract, ReadsOfWatchedTextAreCountedUntilTheNextClear) {
  Platform& platform = this->platform();
  platform.clearPasteboard();
  ASSERT_TRUE(platform.setWatchedPasteboardString("watched"));
  const std::int64_t staged = platform.pasteboardChangeCount();
  EXPECT_TRUE(platform.markPasteboardTransient());
  EXPECT_EQ(platform.pasteboardChangeCount(), staged);  // marking is not a change of hands
  const std::uint64_t before = platform.watchedTextReads();
  EXPECT_EQ(platform.pasteboardString(kPlainTextType), "watched");
  const std::uint64_t read = platform.watchedTextReads();
  EXPECT_GT(read, before);
  // After a clear, new text is not watched and the count stays.
  platform.clearPasteboard();
  ASSERT_TRUE(platform.setPasteboardString("plain", kPlainTextType));
  EXPECT_EQ(platform.pasteboardString(kPlainTextType), "plain");
  EXPECT_EQ(platform.watchedTextReads(), read);
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
  const Event down = platform.createKeyboardEvent(source, harmlessKey<TypeParam>(), true);
  const Event up = platform.createKeyboardEvent(source, harmlessKey<TypeParam>(), false);
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
                            ReadsOfWatchedTextAreCountedUntilTheNextClear,
                            ClockIsMonotonicAndWaitsLastAtLeastAsLongAsAsked,
                            ElementsOfOneApplicationAreEqualAndKnowTheirPid,
                            FrontmostApplicationIsARunningApplication,
                            PostedKeystrokesAndClicksRaiseTheCounters,
                            UuidsAreFreshAndUpperCaseInFiveGroups);

}  // namespace textport::contract
