// The general pasteboard through the macOS backend: what is written comes back byte for byte,
// in order, and every change raises the change count. The user's pasteboard is put back after
// each case.
#include <gtest/gtest.h>

#include <memory>

#include "platform/host_platform.h"

namespace textport {
namespace {

class MacPasteboardTest : public ::testing::Test {
 protected:
  void SetUp() override {
    platform_->requestStarted();
    for (const auto& reading : platform_->pasteboardItems()) {
      PasteboardItem item;
      for (const auto& representation : reading) {
        if (representation.data) item.emplace_back(representation.type, *representation.data);
      }
      saved_.push_back(std::move(item));
    }
  }
  void TearDown() override {
    platform_->clearPasteboard();
    if (!saved_.empty()) platform_->writePasteboardItems(saved_);
    platform_->requestEnded();
  }

  std::unique_ptr<Platform> platform_ = makeHostPlatform();
  std::vector<PasteboardItem> saved_;
};

const std::string kPrivateType = "app.textport.test-binary";
const Bytes kBinary = {0x00, 0xFF, 0x7F, 0x80, 0x00, 0x0A, 0x0D};

TEST_F(MacPasteboardTest, ItemsComeBackInOrderWithTheirTypesAndBytes) {
  platform_->clearPasteboard();
  const std::vector<PasteboardItem> items = {
      {{kPlainTextType, Bytes{'f', 'i', 'r', 's', 't'}}, {kPrivateType, kBinary}},
      {{kPlainTextType, Bytes{'s', 'e', 'c', 'o', 'n', 'd'}}},
      {{kPrivateType, Bytes{}}},
  };
  ASSERT_TRUE(platform_->writePasteboardItems(items));

  const auto read = platform_->pasteboardItems();
  ASSERT_EQ(read.size(), items.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    ASSERT_EQ(read[i].size(), items[i].size()) << "item " << i;
    for (std::size_t j = 0; j < items[i].size(); ++j) {
      EXPECT_EQ(read[i][j].type, items[i][j].first) << "item " << i << " type " << j;
      EXPECT_EQ(read[i][j].data, std::optional<Bytes>(items[i][j].second))
          << "item " << i << " type " << j;
    }
  }
}

TEST_F(MacPasteboardTest, StringsAndDataOnTheFirstItemRoundTrip) {
  const std::string text = "caf\xC3\xA9 \xE4\xB8\x96\xE7\x95\x8C / \"quoted\"";
  platform_->clearPasteboard();
  ASSERT_TRUE(platform_->setPasteboardString(text, kPlainTextType));
  ASSERT_TRUE(platform_->setPasteboardData(kBinary, kPrivateType));

  EXPECT_EQ(platform_->pasteboardString(kPlainTextType), text);
  EXPECT_EQ(platform_->pasteboardData(kPlainTextType), Bytes(text.begin(), text.end()));
  EXPECT_EQ(platform_->pasteboardData(kPrivateType), kBinary);
  EXPECT_EQ(platform_->pasteboardItems().size(), 1u);
  EXPECT_EQ(platform_->pasteboardString("app.textport.test-absent"), std::nullopt);
}

TEST_F(MacPasteboardTest, ClearingEmptiesThePasteboardAndEveryWriteRaisesTheChangeCount) {
  const auto before = platform_->pasteboardChangeCount();
  const auto cleared = platform_->clearPasteboard();
  EXPECT_GT(cleared, before);
  EXPECT_EQ(platform_->pasteboardChangeCount(), cleared);
  EXPECT_TRUE(platform_->pasteboardItems().empty());
  EXPECT_EQ(platform_->pasteboardString(kPlainTextType), std::nullopt);

  platform_->setPasteboardString("x", kPlainTextType);
  EXPECT_GT(platform_->pasteboardChangeCount(), cleared);
}

}  // namespace
}  // namespace textport
