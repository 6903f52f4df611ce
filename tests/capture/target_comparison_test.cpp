// Whether a presented description names the same target as a fresh one.
#include "capture/target_comparison.h"

#include <gtest/gtest.h>

#include "request/json_reader.h"

namespace textport {
namespace {

// A typical description with `changes` (a JSON object; null takes a key away); none at all
// without changes.
JsonObject described(const char* changes) {
  if (changes == nullptr) return {};
  JsonObject d{{"pid", 123},   {"role", "AXTextArea"}, {"identifier", "synthetic"},
               {"window", 10}, {"offset", 3},          {"length", 0}};
  const JsonValue parsed = parseJson(changes).value_or(JsonValue());
  for (const auto& [key, value] : *parsed.as<JsonObject>()) d[key] = value;
  std::erase_if(d, [](const auto& entry) { return entry.second == JsonValue(nullptr); });
  return d;
}

TEST(SameTarget, FollowsTheComparisonRulesInEitherArgumentOrder) {
  const char* noRange = R"({"offset": null, "length": null})";
  const struct {
    const char* rule;
    const char* a;
    const char* b;
    bool same;
  } cases[] = {
      {"a description matches itself", "{}", "{}", true},
      {"two empty descriptions do not match", nullptr, nullptr, false},
      {"another process", "{}", R"({"pid": 124})", false},
      {"pid as a string is no pid", "{}", R"({"pid": "123"})", false},
      {"pid 123.0 reads as 123", "{}", R"({"pid": 123.0})", true},
      {"pid 123.5 is no pid", "{}", R"({"pid": 123.5})", false},
      {"another cursor offset", "{}", R"({"offset": 4})", false},
      {"another selection length", "{}", R"({"length": 2})", false},
      {"range on one side only", "{}", noRange, false},
      {"range on neither side", noRange, noRange, true},
      {"both roles empty", R"({"role": ""})", R"({"role": ""})", false},
      {"role missing", "{}", R"({"role": null})", false},
      {"role differs in case", "{}", R"({"role": "axtextarea"})", false},
      {"identifier missing equals empty", R"({"identifier": null})", R"({"identifier": ""})", true},
      {"another identifier", "{}", R"({"identifier": "other"})", false},
      {"composed and decomposed identifiers are equal", R"({"identifier": "caf\u00e9"})",
       R"({"identifier": "cafe\u0301"})", true},
      {"window missing equals 0", R"({"window": 0})", R"({"window": null})", true},
      {"another window", "{}", R"({"window": 11})", false},
      {"other keys may differ", "{}",
       R"({"bundle": "x", "name": "y", "captureToken": "T", "selection": "s"})", true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(sameTarget(described(c.a), described(c.b)), c.same) << c.rule;
    EXPECT_EQ(sameTarget(described(c.b), described(c.a)), c.same) << c.rule << " (swapped)";
  }
}

}  // namespace
}  // namespace textport
