// World files that cannot be loaded say which file, where inside it and what is
// wrong: one case for each kind of mistake.
#include <gtest/gtest.h>

#include "support/desk.h"

namespace textport::sim {
namespace {

TEST(WorldFiles, LoadingFailsWithSourcePathAndReason) {
  const std::string tree = R"({"apps": [{"pid": 1, "tree": {"children": [)";
  const struct {
    std::string json, message;
  } cases[] = {
      {"{\n  \"trusted\": tru\n}", "line 2, column 17: not valid JSON"},
      {"[]", "top level: expected an object"},
      {R"({"colour": 1})", "colour: unknown key"},
      {R"({"frontmost": 5})", "frontmost: no application has the pid 5"},
      {R"({"apps": [{"name": "x"}]})", "apps[0]: missing \"pid\""},
      {R"({"apps": [{"pid": 1}, {"pid": 1}]})", "apps[1].pid: another application has the pid 1"},
      {tree + R"({"id": "w"}, {"id": "u", "frame": [1, 2, 3]}]}}]})",
       "apps[0].tree.children[1].frame: expected [x, y, width, height]"},
      {tree + R"({"id": "f", "value": "ab", "selected_range": [1, 2]}]}}]})",
       "apps[0].tree.children[0].selected_range: lies outside the value's 2 "
       "UTF-16 code units"},
      {tree + R"({"id": "f", "attributes": {"AXParent": {"element": "nope"}}}]}}]})",
       "apps[0].tree.children[0].attributes.AXParent.element: no element has "
       "the id \"nope\""},
      {tree + R"({"id": "f", "errors": {"AXValue": "broken"}}]}}]})",
       "apps[0].tree.children[0].errors.AXValue: unknown error name "
       "\"broken\""},
      {R"({"apps": [{"pid": 1, "copy": {"writes": "text"}}]})", "apps[0].copy: missing \"text\""},
      {R"({"counters": {"key_down": 4294967296}})",
       "counters.key_down: expected an integer from 0 to 4294967295"},
      {R"({"pasteboard": [[{"type": "t", "base64": "@@"}]]})",
       "pasteboard[0][0].base64: not valid base64"},
      {R"({"pasteboard": [[{"type": "t"}]]})",
       "pasteboard[0][0]: missing \"text\", \"base64\" or \"hex\" (or "
       "\"lazy\": true)"},
      {R"({"timeline": [{"key": 1}]})", "timeline[0]: missing \"at\" or \"before_request\""},
  };
  for (const auto& c : cases) {
    const SimLoad loaded = SimDesktop::fromJson(c.json, "w.json");
    EXPECT_FALSE(loaded) << c.json;
    EXPECT_EQ(loaded.error, "w.json: " + c.message);
  }
}

TEST(WorldFiles, ShippedExamplesLoad) {
  for (const char* name : {"editor.json", "chat.json", "empty.json", "copy-only.json"}) {
    const std::string text = textport::testing::sourceFile(std::string("examples/") + name);
    const SimLoad loaded = SimDesktop::fromJson(text, name);
    EXPECT_TRUE(loaded) << name << ": " << loaded.error;
  }
}

}  // namespace
}  // namespace textport::sim
