// What the macOS backend does beyond the contract that every backend keeps: attribute values keep
// their kind and content through the platform's objects, arguments that have no platform object
// never reach the platform, and a pasteboard write that an item refuses leaves the pasteboard as
// it was.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "contract/platform_contract.h"
#include "platform/host_platform.h"
#include "platform/mac/mac_values.h"

namespace textport {
namespace {

class MacPlatformTest : public ::testing::Test {
 protected:
  Platform& platform() { return *platform_; }

 private:
  std::unique_ptr<Platform> platform_ = makeHostPlatform();
  RequestScope scope_{*platform_};
};

bool same(const Value& a, const Value& b) {
  if (a.data.index() != b.data.index()) return false;
  return std::visit(
      [&b](const auto& x) {
        using T = std::decay_t<decltype(x)>;
        const T& y = std::get<T>(b.data);
        if constexpr (std::is_same_v<T, ValueList>) {
          return std::equal(x.begin(), x.end(), y.begin(), y.end(), same);
        } else {
          return x == y;
        }
      },
      a.data);
}

TEST_F(MacPlatformTest, AttributeValuesComeBackFromThePlatformsObjectsUnchanged) {
  const Element application = platform().createApplicationElement(getpid());
  const Value values[] = {
      true,
      false,
      std::int64_t{-3},
      std::numeric_limits<std::int64_t>::max(),
      0.5,
      2.0,  // a whole number stays a float
      std::string("caf\xC3\xA9 \xE4\xB8\x96\xE7\x95\x8C"),
      std::string(),
      Point{1.5, -2},
      Size{3, 4},
      Rect{{1, 2}, {3, 4}},
      Range{5, 6},
      AttributedString{"bold"},
      application,
      ValueList{std::int64_t{1}, "a", Range{0, 1}, ValueList{}},
  };
  for (std::size_t i = 0; i < std::size(values); ++i) {
    const auto object = mac::toCFObject(values[i]);
    ASSERT_TRUE(object) << "value " << i;
    EXPECT_TRUE(same(mac::toValue(object.get()), values[i])) << "value " << i;
  }
  EXPECT_FALSE(mac::toCFObject(Value()));
  EXPECT_TRUE(mac::toValue(nullptr).isNothing());
}

// The platform's answer to a null argument, given without handing it one.
TEST_F(MacPlatformTest, ArgumentsWithoutAPlatformObjectAreIllegal) {
  Platform& p = platform();
  const Element application = p.createApplicationElement(getpid());
  const Element none;
  const std::string notUtf8 = "AX\xFF";
  const struct {
    const char* name;
    AXError error;
  } rows[] = {
      {"set on an empty element", p.setAttributeValue(none, "AXValue", "x")},
      {"set a value of nothing", p.setAttributeValue(application, "AXValue", Value())},
      {"set attributed text that is not UTF-8",
       p.setAttributeValue(application, "AXValue", AttributedString{"\xFF"})},
      {"set under a name that is not UTF-8", p.setAttributeValue(application, notUtf8, "x")},
      {"read under a name that is not UTF-8", p.copyAttributeValue(application, notUtf8).error},
      {"parameterised read with a parameter of nothing",
       p.copyParameterizedAttributeValue(application, "AXStringForRange", Value()).error},
      {"parameterised read on an empty element",
       p.copyParameterizedAttributeValue(none, "AXStringForRange", Range{0, 1}).error},
      {"action named in bytes that are not UTF-8", p.performAction(application, notUtf8)},
  };
  for (const auto& row : rows) EXPECT_EQ(row.error, kAXErrorIllegalArgument) << row.name;
}

// Cases that write the pasteboard put the user's items back afterwards.
class MacPasteboardTest : public MacPlatformTest {
 private:
  contract::SavedPasteboard saved_{platform()};
};

// A pasteboard item takes data under a UTI only; bytes that are not UTF-8 name no type at all.
// Either way the write is refused whole, before any item of it reaches the pasteboard.
TEST_F(MacPasteboardTest, AWriteWithATypeThatNoItemTakesIsRefusedWhole) {
  const struct {
    const char* name;
    std::string type;
  } rows[] = {
      {"not a UTI", ""},
      {"not UTF-8", "app.textport.\xFF"},
  };
  for (const auto& row : rows) {
    platform().clearPasteboard();
    const std::int64_t before = platform().pasteboardChangeCount();
    const std::vector<PasteboardItem> items = {
        {{kPlainTextType, Bytes{'a'}}},
        {{kPlainTextType, Bytes{'b'}}, {row.type, Bytes{'c'}}},
    };
    EXPECT_FALSE(platform().writePasteboardItems(items)) << row.name;
    EXPECT_EQ(platform().pasteboardChangeCount(), before) << row.name;
    EXPECT_TRUE(platform().pasteboardItems().empty()) << row.name;
  }
}

}  // namespace
}  // namespace textport
