// Putting the user's pasteboard back when the platform refuses part of it.
#include "clipboard/pasteboard_snapshot.h"

#include <gtest/gtest.h>

#include "support/desk.h"

namespace textport {
namespace {

// A pasteboard that refuses a whole write when one of its items has no types.
struct RefusesEmptyItems : sim::SimDesktop {
  bool writePasteboardItems(const std::vector<PasteboardItem>& items) override {
    for (const PasteboardItem& item : items) {
      if (item.empty()) return false;
    }
    return SimDesktop::writePasteboardItems(items);
  }
};

TEST(Restore, AWriteRefusedForAnEmptyItemStillBringsBackEveryItemWithData) {
  RefusesEmptyItems desktop;
  const PasteboardSnapshot saved{
      {{{kPlainTextType, {'a'}}, {"public.png", {0x89, 0x50}}}, {}, {{kPlainTextType, {'b'}}}}};
  restore(desktop, saved);
  EXPECT_EQ(testing::pasteboardText(desktop),
            "[public.utf8-plain-text=a;public.png=\x89P;]"
            "[public.utf8-plain-text=b;]");
}

}  // namespace
}  // namespace textport
