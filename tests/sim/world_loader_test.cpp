// World files that cannot be loaded say which file, where inside it and what is wrong.
#include <gtest/gtest.h>

#include "platform/sim/sim_desktop.h"

namespace textport::sim {
namespace {

struct BadWorld {
  const char* json;
  const char* message;
};

class WorldErrors : public ::testing::TestWithParam<BadWorld> {};

TEST_P(WorldErrors, LoadingFailsWithSourcePathAndReason) {
  const SimLoad loaded = SimDesktop::fromJson(GetParam().json, "w.json");
  EXPECT_FALSE(loaded);
  EXPECT_EQ(loaded.error, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Table, WorldErrors,
    ::testing::Values(
        BadWorld{"{\n  \"trusted\": tru\n}", "w.json: line 2, column 17: not valid JSON"},
        BadWorld{"[]", "w.json: top level: expected an object"},
        BadWorld{R"({"colour": 1})", "w.json: colour: unknown key"},
        BadWorld{R"({"frontmost": 5})", "w.json: frontmost: no application has the pid 5"},
        BadWorld{R"({"apps": [{"name": "x"}]})", "w.json: apps[0]: missing \"pid\""},
        BadWorld{R"({"apps": [{"pid": 1}, {"pid": 1}]})",
                 "w.json: apps[1].pid: another application has the pid 1"},
        BadWorld{
            R"({"apps": [{"pid": 1, "tree": {"children": [{"id": "w"}, {"id": "v"}, {"id": "u", "frame": [1, 2, 3]}]}}]})",
            "w.json: apps[0].tree.children[2].frame: expected [x, y, width, height]"},
        BadWorld{
            R"({"apps": [{"pid": 1, "tree": {"children": [{"id": "w", "children": [{"id": "w"}]}]}}]})",
            "w.json: apps[0].tree.children[0].children[0].id: another element has the id \"w\""},
        BadWorld{
            R"({"apps": [{"pid": 1, "tree": {"children": [{"id": "f", "value": "ab", "selected_range": [1, 2]}]}}]})",
            "w.json: apps[0].tree.children[0].selected_range: lies outside the value's 2 UTF-16 "
            "code units"},
        BadWorld{
            R"({"apps": [{"pid": 1, "tree": {"children": [{"id": "f", "attributes": {"AXParent": {"element": "nope"}}}]}}]})",
            "w.json: apps[0].tree.children[0].attributes.AXParent.element: no element has the id "
            "\"nope\""},
        BadWorld{
            R"({"apps": [{"pid": 1, "tree": {"children": [{"id": "f", "errors": {"AXValue": "broken"}}]}}]})",
            "w.json: apps[0].tree.children[0].errors.AXValue: unknown error name \"broken\""},
        BadWorld{R"({"apps": [{"pid": 1, "focused": "x"}]})",
                 "w.json: apps[0].focused: no element of this application has the id \"x\""},
        BadWorld{R"({"apps": [{"pid": 1, "copy": {"writes": "text"}}]})",
                 "w.json: apps[0].copy: missing \"text\""},
        BadWorld{R"({"counters": {"key_down": 4294967296}})",
                 "w.json: counters.key_down: expected an integer from 0 to 4294967295"},
        BadWorld{R"({"pasteboard": [[{"type": "t", "base64": "@@"}]]})",
                 "w.json: pasteboard[0][0].base64: not valid base64"},
        BadWorld{R"({"pasteboard": [[{"type": "t"}]]})",
                 "w.json: pasteboard[0][0]: missing \"text\", \"base64\" or \"hex\" (or \"lazy\": "
                 "true)"},
        BadWorld{R"({"timeline": [{"key": 1}]})",
                 "w.json: timeline[0]: missing \"at\" or \"before_request\""},
        BadWorld{R"({"timeline": [{"at": 1, "key": 1, "trusted": false}]})",
                 "w.json: timeline[0]: expected exactly one action (key, click, focus, frontmost, "
                 "focused_window, select, edit, pasteboard or trusted)"},
        BadWorld{R"({"timeline": [{"at": -1, "trusted": false}]})",
                 "w.json: timeline[0].at: expected a number of seconds, 0 or more"},
        BadWorld{R"({"timeline": [{"at": 1, "focus": "ghost"}]})",
                 "w.json: timeline[0].focus: no element has the id \"ghost\""}));

TEST(WorldFiles, ShippedExamplesLoad) {
  for (const char* name : {"editor.json", "chat.json", "empty.json", "copy-only.json"}) {
    std::FILE* file =
        std::fopen((std::string(TEXTPORT_SOURCE_DIR) + "/examples/" + name).c_str(), "rb");
    ASSERT_NE(file, nullptr) << name;
    std::string text;
    char buffer[4096];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, file)) > 0;)
      text.append(buffer, n);
    std::fclose(file);
    const SimLoad loaded = SimDesktop::fromJson(text, name);
    EXPECT_TRUE(loaded) << loaded.error;
  }
}

}  // namespace
}  // namespace textport::sim
