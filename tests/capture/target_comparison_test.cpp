#include "capture/target_comparison.h"

#include <gtest/gtest.h>

#include <functional>

namespace textport {
namespace {

JsonObject base() {
  return {{"pid", 123},   {"role", "AXTextArea"}, {"identifier", "synthetic"},
          {"window", 10}, {"offset", 3},          {"length", 0}};
}
JsonObject with(std::function<void(JsonObject&)> change) {
  JsonObject d = base();
  change(d);
  return d;
}

struct Case {
  const char* rule;
  JsonObject a;
  JsonObject b;
  bool same;
};

TEST(SameTarget, FollowsTheComparisonRulesInEitherArgumentOrder) {
  const Case cases[] = {
      {"a description matches itself", base(), base(), true},
      {"two empty descriptions do not match", {}, {}, false},
      {"another process", base(), with([](auto& d) { d["pid"] = 124; }), false},
      {"pid as a string is no pid", base(), with([](auto& d) { d["pid"] = "123"; }), false},
      {"pid 123.0 reads as 123", base(), with([](auto& d) { d["pid"] = 123.0; }), true},
      {"pid 123.5 is no pid", base(), with([](auto& d) { d["pid"] = 123.5; }), false},
      {"another cursor offset", base(), with([](auto& d) { d["offset"] = 4; }), false},
      {"another selection length", base(), with([](auto& d) { d["length"] = 2; }), false},
      {"range on one side only", base(),
       with([](auto& d) { d.erase("offset"), d.erase("length"); }), false},
      {"range on neither side", with([](auto& d) { d.erase("offset"), d.erase("length"); }),
       with([](auto& d) { d.erase("offset"), d.erase("length"); }), true},
      {"both roles empty", with([](auto& d) { d["role"] = ""; }),
       with([](auto& d) { d["role"] = ""; }), false},
      {"role missing", base(), with([](auto& d) { d.erase("role"); }), false},
      {"role differs in case", base(), with([](auto& d) { d["role"] = "axtextarea"; }), false},
      {"identifier missing equals empty", with([](auto& d) { d.erase("identifier"); }),
       with([](auto& d) { d["identifier"] = ""; }), true},
      {"another identifier", base(), with([](auto& d) { d["identifier"] = "other"; }), false},
      {"composed and decomposed identifiers are equal",
       with([](auto& d) { d["identifier"] = "caf\xC3\xA9"; }),
       with([](auto& d) { d["identifier"] = "cafe\xCC\x81"; }), true},
      {"window missing equals 0", with([](auto& d) { d["window"] = 0; }),
       with([](auto& d) { d.erase("window"); }), true},
      {"another window", base(), with([](auto& d) { d["window"] = 11; }), false},
      {"other keys may differ", base(), with([](auto& d) {
         d["bundle"] = "x", d["name"] = "y", d["captureToken"] = "T", d["selection"] = "s";
       }),
       true},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(sameTarget(c.a, c.b), c.same) << c.rule;
    EXPECT_EQ(sameTarget(c.b, c.a), c.same) << c.rule << " (arguments swapped)";
  }
}

}  // namespace
}  // namespace textport
