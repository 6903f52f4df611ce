#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "request/json_reader.h"
#include "request/json_writer.h"

namespace textport {
namespace {

const std::string kFFFD = "\xEF\xBF\xBD";

TEST(RepairUtf8, ReplacesEachMaximalInvalidSubpartByOneReplacementCharacter) {
  const struct {
    std::string in, out;
  } cases[] = {
      {"plain \xE7\x84\xA6 \xF0\x9F\x98\x80", "plain \xE7\x84\xA6 \xF0\x9F\x98\x80"},
      {"a\xF0\x9F\x98"
       "b",
       "a" + kFFFD + "b"},                                  // truncated four-byte sequence
      {"\xE2\x82", kFFFD},                                  // truncated at the end
      {"\xC0\xAF", kFFFD + kFFFD},                          // overlong: no valid prefix
      {"\xED\xA0\x80", kFFFD + kFFFD + kFFFD},              // surrogate
      {"\xF4\x90\x80\x80", kFFFD + kFFFD + kFFFD + kFFFD},  // past U+10FFFF
      {"\x80\xBF", kFFFD + kFFFD},                          // lone continuation bytes
      {"\xF5\xFF", kFFFD + kFFFD},                          // bytes that start nothing
      {"\xE1\x80"
       "A",
       kFFFD + "A"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(repairUtf8(c.in), c.out) << c.in;
    EXPECT_EQ(isValidUtf8(c.in), c.in == c.out) << c.in;
  }
}

std::optional<std::string> written(JsonValue v) {
  return writeJson(JsonObject{{"v", std::move(v)}});
}

TEST(WriteJson, WritesNumbersAsIntegersWhenWholeAndShortestOtherwise) {
  const struct {
    double in;
    const char* out;
  } cases[] = {
      {10.0, "10"},        {-3.0, "-3"},      {2.5, "2.5"},
      {0.1, "0.1"},        {1e300, "1e+300"}, {9007199254740992.0, "9007199254740992"},
      {1.5e-7, "1.5e-07"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(written(c.in), std::string("{\"v\":") + c.out + "}") << c.in;
  }
  EXPECT_EQ(written(std::int64_t{-9223372036854775807 - 1}), "{\"v\":-9223372036854775808}");
}

TEST(WriteJson, FailsWholeWhenAnyNumberIsNotFinite) {
  EXPECT_FALSE(written(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_FALSE(written(JsonArray{1, JsonObject{{"x", std::numeric_limits<double>::infinity()}}}));
}

TEST(WriteJson, EscapesQuotesBackslashSlashAndControlsAndRepairsInvalidUtf8) {
  EXPECT_EQ(written("q\"b\\s/n\nr\rt\tb\bf\f\x01\x1F\x7F \xE7\x84\xA6 \xC0"),
            "{\"v\":\"q\\\"b\\\\s\\/n\\nr\\rt\\tb\\bf\\f\\u0001\\u001f\x7F \xE7\x84\xA6 " + kFFFD +
                "\"}");
}

TEST(ParseJson, KeepsIntegersExactAndLargerNumbersAsDoubles) {
  const auto v = parseJson(
      R"({"i":-9223372036854775808,"j":9223372036854775807,"u":9223372036854775808,"f":3.0,"a":1,"a":2})");
  ASSERT_TRUE(v);
  const auto& o = *v->as<JsonObject>();
  EXPECT_EQ(o.at("i"), JsonValue(std::numeric_limits<std::int64_t>::min()));
  EXPECT_EQ(o.at("j"), JsonValue(std::numeric_limits<std::int64_t>::max()));
  EXPECT_EQ(o.at("u"), JsonValue(9223372036854775808.0));
  EXPECT_EQ(readInteger(o, "f"), 3);
  EXPECT_EQ(o.at("a"), JsonValue(2)) << "the last of duplicate keys wins";
  EXPECT_FALSE(parseJson("[1e999]")) << "a number that overflows a double does not parse";
}

TEST(ParseJson, AcceptsNestingUpToTheLimitAndNothingDeeper) {
  const auto nested = [](std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
  };
  EXPECT_TRUE(parseJson(nested(kMaxJsonDepth)));
  EXPECT_FALSE(parseJson(nested(kMaxJsonDepth + 1)));
}

}  // namespace
}  // namespace textport
