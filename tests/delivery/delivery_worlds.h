// The desktops the delivery tests run on, and the requests they send.
#pragma once

#include <string>

#include "capture/target_description.h"
#include "json/json_value.h"
#include "support/desk.h"

namespace textport::worlds {

// The user's clipboard as it is before a delivery: text, an image and a private binary type in
// one item, rich text in a second.
inline constexpr const char* kUserPasteboard = R"([
  [{"type": "public.utf8-plain-text", "text": "user text"},
   {"type": "public.png", "hex": "89504e470d0a1a0a00ff"},
   {"type": "com.example.private", "hex": "00ff10"}],
  [{"type": "public.rtf", "text": "{\\rtf1 two}"}]
])";

// An editor with a selection in its text area, a second field and a second window; another
// application to switch to.
inline const std::string kEditor = std::string(R"({
  "frontmost": 501,
  "counters": {"key_down": 100, "left_mouse_down": 10},
  "pasteboard": )") + kUserPasteboard +
                                   R"(,
  "apps": [
    {"pid": 501, "bundle": "com.apple.TextEdit", "name": "TextEdit", "latency": 0.002,
     "paste": {"read_delay": 0.05}, "focused": "body",
     "tree": {"children": [
       {"id": "doc", "role": "AXWindow", "window_number": 7, "frame": [0, 0, 800, 600], "children": [
         {"id": "body", "role": "AXTextArea", "identifier": "body",
          "value": "Hello brave new world", "selected_range": [6, 5]},
         {"id": "title", "role": "AXTextField", "identifier": "title", "value": "Notes"}]},
       {"id": "doc2", "role": "AXWindow", "window_number": 8, "children": [
         {"id": "body2", "role": "AXTextArea", "identifier": "body", "value": "", "selected_range": [0, 0]}]}]}},
    {"pid": 600, "bundle": "com.example.other", "name": "Other", "focused": "other-field",
     "tree": {"children": [{"id": "other-window", "role": "AXWindow", "window_number": 9, "children": [
       {"id": "other-field", "role": "AXTextField", "value": ""}]}]}}
  ]
})";

// The chat application with the caret at the end of its composer's draft; `composerExtra` adds
// properties to the composer element (a trailing comma included).
inline std::string chat(const std::string& composerExtra = "") {
  return std::string(R"({
  "frontmost": 777,
  "counters": {"key_down": 100, "left_mouse_down": 10},
  "pasteboard": )") +
         kUserPasteboard + R"(,
  "apps": [
    {"pid": 777, "bundle": "com.tencent.xinWeChat", "name": "WeChat", "latency": 0.002,
     "paste": {"read_delay": 0.05}, "focused": "composer",
     "tree": {"children": [
       {"id": "chat", "role": "AXWindow", "window_number": 42, "frame": [0, 0, 1000, 800], "children": [
         {"id": "search", "role": "AXTextField", "value": "", "frame": [0, 0, 300, 30]},
         {"id": "history", "role": "AXTextArea", "enabled": false, "value": "earlier",
          "frame": [0, 40, 1000, 500]},
         {"id": "composer", "role": "AXTextArea", "identifier": "chatInput", )" +
         composerExtra + R"(
          "value": "draft", "selected_range": [5, 0], "frame": [0, 600, 1000, 150]}]},
       {"id": "chat2", "role": "AXWindow", "window_number": 43, "frame": [0, 0, 500, 400]}]}}
  ]
})";
}

// The chat application with no focused element and no composer to find: pastes go to the
// focused window.
inline const std::string kChatWithoutFocus = std::string(R"({
  "frontmost": 777,
  "counters": {"key_down": 100, "left_mouse_down": 10},
  "pasteboard": )") + kUserPasteboard + R"(,
  "apps": [
    {"pid": 777, "bundle": "com.tencent.xinWeChat", "name": "WeChat", "latency": 0.002,
     "focused_window": "chat",
     "tree": {"children": [
       {"id": "chat", "role": "AXWindow", "window_number": 42, "frame": [0, 0, 1000, 800], "children": [
         {"id": "web", "role": "AXWebArea", "frame": [0, 0, 1000, 800]}]},
       {"id": "chat2", "role": "AXWindow", "window_number": 43, "frame": [0, 0, 500, 400]}]}}
  ]
})";
inline std::string chatWithoutFocus() {
  return kChatWithoutFocus;
}

inline JsonObject capture(testing::Desk& desk) {
  return targetAction(desk.session, JsonObject{{"action", "target"}, {"selection", true}});
}

inline JsonObject deliverRequest(const JsonObject& target, const std::string& text) {
  return JsonObject{{"action", "deliver"}, {"target", target}, {"text", text}};
}

}  // namespace textport::worlds
