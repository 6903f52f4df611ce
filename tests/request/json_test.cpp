#include <gtest/gtest.h>

#include <limits>

#include "request/json_reader.h"
#include "request/json_writer.h"

namespace textport {
namespace {

const std::string kFFFD = "\xEF\xBF\xBD";

TEST(RepairUtf8, ReplacesEachMaximalInvalidSubpartByOneReplacementCharacter) {
  const struct {
    std::string in, out;
  } cases[] = {
      {"ok \xE7\x84\xA6 \xF0\x9F\x98\x80", "ok \xE7\x84\xA6 \xF0\x9F\x98\x80"},
      {"a\xF0\x9F\x98_", "a" + kFFFD + "_"},                // truncated four-byte sequence
      {"\xE1\x80", kFFFD},                                  // truncated at the end
      {"\xC0\xAF", kFFFD + kFFFD},                          // overlong: no valid prefix
      {"\xED\xA0\x80", kFFFD + kFFFD + kFFFD},              // surrogate
      {"\xF4\x90\x80\x80", kFFFD + kFFFD + kFFFD + kFFFD},  // past U+10FFFF
      {"\x80\xF5\xFF", kFFFD + kFFFD + kFFFD},              // bytes that start nothing
  };
  for (const auto& c : cases) {
    EXPECT_EQ(repairUtf8(c.in), c.out) << c.in;
    EXPECT_EQ(isValidUtf8(c.in), c.in == c.out) << c.in;
  }
}

std::optional<std::string> written(JsonValue v) {
  return writeJson({{"v", std::move(v)}});
}

TEST(WriteJson, WritesWholeNumbersAsIntegersOthersShortestAndNoneThatIsNotFinite) {
  const struct {
    double in;
    const char* out;
  } cases[] = {{10.0, "10"},      {-3.0, "-3"},        {0.1, "0.1"},
               {1e300, "1e+300"}, {1.5e-7, "1.5e-07"}, {9007199254740992.0, "9007199254740992"}};
  for (const auto& c : cases) EXPECT_EQ(written(c.in), "{\"v\":" + std::string(c.out) + "}");
  // A number that is not finite fails the whole answer, wherever it is.
  EXPECT_FALSE(written(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_FALSE(written(JsonArray{1, JsonObject{{"x", std::numeric_limits<double>::infinity()}}}));
}

TEST(WriteJson, EscapesQuotesBackslashSlashAndControlsAndRepairsInvalidUtf8) {
  EXPECT_EQ(written("\"\\/\n\r\t\b\f\x01\x1F\x7F \xE7\x84\xA6\xC0"),
            R"({"v":"\"\\\/\n\r\t\b\f\u0001\u001f)"
            "\x7F \xE7\x84\xA6" +
                kFFFD + "\"}");
}

TEST(ParseJson, AcceptsNestingUpToTheLimitAndNothingDeeper) {
  const auto nested = [](std::size_t n) { return std::string(n, '[') + std::string(n, ']'); };
  EXPECT_TRUE(parseJson(nested(kMaxJsonDepth)));
  EXPECT_FALSE(parseJson(nested(kMaxJsonDepth + 1)));
}

}  // namespace
}  // namespace textport
