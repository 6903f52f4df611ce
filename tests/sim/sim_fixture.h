// Helpers shared by the simulated desktop's own tests.
#pragma once

#include <string>
#include <string_view>

#include "support/desk.h"

namespace textport::sim::testing {

using textport::testing::loadWorld;
using textport::testing::pasteboardText;

// One application (pid 10) with a window and a text field "field" holding
// "hello world" with "world" selected; the extra JSON is spliced into the
// application object.
inline std::string oneField(std::string_view extraApp = "", std::string_view extraTop = "") {
  std::string json =
      R"({"frontmost": 10, "apps": [{"pid": 10, "bundle": "com.example.app",
    "focused": "field", "tree": {"children": [{"id": "win", "frame": [0, 0, 400, 300],
    "window_number": 5, "children": [{"id": "field", "role": "AXTextField",
    "frame": [10, 200, 380, 40], "value": "hello world", "selected_range": [6, 5]}]}]},
    "menu_bar": {"id": "bar", "children": [{"id": "copy", "role": "AXMenuItem",
    "cmd_char": "c", "cmd_modifiers": 0, "enabled": true, "copies": true}]})";
  if (!extraApp.empty()) json += ", " + std::string(extraApp);
  json += "}]";
  if (!extraTop.empty()) json += ", " + std::string(extraTop);
  return json + "}";
}

inline Element node(std::string_view id) {
  return makeElement(ElementKind::node, 10, std::string(id));
}

}  // namespace textport::sim::testing
