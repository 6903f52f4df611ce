// The desktop the request fuzzer drives: an editor with a Copy menu, a terminal that gives its
// selection only through Copy, the chat application with a hidden composer, two fixtures, a
// hung application and a password field, with a user who keeps doing things between requests.
#pragma once

#include <string_view>

namespace textport::fuzz {

// Process identifiers of the applications, in the order the first input byte picks them.
inline constexpr int kFuzzPids[] = {501, 503, 600, 601, 602, 604, 605};

inline constexpr std::string_view kFuzzWorld = R"json({
  "frontmost": 501,
  "counters": {"key_down": 4294967290, "left_mouse_down": 7},
  "pointer": [400, 300],
  "pasteboard": [[{"type": "public.utf8-plain-text", "text": "user clip"},
                  {"type": "public.png", "hex": "89504e470d0a1a0a00ff"},
                  {"type": "com.example.private", "hex": "000102fffe"},
                  {"type": "com.example.promised", "lazy": true}],
                 [{"type": "public.utf8-plain-text", "text": ""}],
                 [{"type": "com.example.binary", "hex": "00"}]],
  "pasteboard_change_count": 40,
  "apps": [
    {"pid": 501, "bundle": "com.apple.TextEdit", "name": "TextEdit",
     "paste": {"read_delay": 0.05}, "copy": {"writes": "selection", "delay": 0.05},
     "focused": "body",
     "tree": {"children": [
       {"id": "doc", "frame": [100, 80, 800, 600], "window_number": 7, "children": [
         {"id": "title", "role": "AXTextField", "identifier": "title", "frame": [100, 90, 800, 20],
          "value": "Title"},
         {"id": "body", "role": "AXTextArea", "identifier": "body", "frame": [100, 120, 800, 560],
          "value": "hello wörld 😀 text", "selected_range": [6, 5]}]},
       {"id": "doc2", "frame": [120, 100, 800, 600], "window_number": 8, "children": [
         {"id": "body2", "role": "AXTextArea", "frame": [120, 140, 800, 560], "value": "second"}]}]},
     "menu_bar": {"id": "menus", "children": [
       {"id": "edit-menu", "role": "AXMenuBarItem", "title": "Edit", "children": [
         {"id": "cut", "role": "AXMenuItem", "cmd_char": "X", "cmd_modifiers": 0, "enabled": true},
         {"id": "copy", "role": "AXMenuItem", "cmd_char": "C", "cmd_modifiers": 0,
          "enabled": true, "copies": true}]}]}},
    {"pid": 503, "bundle": "com.example.terminal", "name": "Terminal",
     "paste": {"read_delay": 0.5}, "copy": {"writes": "selection", "delay": 0.12},
     "focused": "screen",
     "tree": {"children": [
       {"id": "term-window", "frame": [0, 0, 700, 500], "window_number": 11, "children": [
         {"id": "screen", "role": "AXTextArea", "identifier": "shell", "frame": [0, 20, 700, 480],
          "value": "ls -la copied text", "selected_range": [7, 11],
          "errors": {"AXSelectedText": "attribute_unsupported"}}]}]},
     "menu_bar": {"id": "term-menus", "children": [
       {"id": "term-edit", "role": "AXMenuBarItem", "children": [
         {"id": "copy-styled", "role": "AXMenuItem", "cmd_char": "c", "cmd_modifiers": 1,
          "enabled": true},
         {"id": "term-copy", "role": "AXMenuItem", "cmd_char": "c", "enabled": true,
          "copies": true}]}]}},
    {"pid": 600, "bundle": "com.tencent.xinWeChat", "name": "WeChat",
     "paste": {"read_delay": 0.05}, "focused": "messages",
     "accessibility": {"tree_needs_switch": true},
     "tree": {"children": [
       {"id": "chat-window", "frame": [0, 0, 1000, 800], "window_number": 42, "children": [
         {"id": "sidebar", "role": "AXGroup", "frame": [0, 0, 250, 800], "children": [
           {"id": "search", "role": "AXTextField", "frame": [10, 10, 230, 30], "value": ""}]},
         {"id": "messages", "role": "AXList", "frame": [250, 0, 750, 560], "children": [
           {"id": "bubble", "role": "AXTextArea", "frame": [300, 100, 600, 80],
            "value": "an old message", "enabled": false}]},
         {"id": "lower", "role": "AXGroup", "frame": [250, 560, 750, 240], "children": [
           {"id": "lower-scroll", "role": "AXScrollArea", "frame": [250, 600, 750, 200],
            "children": [
              {"id": "composer", "role": "AXTextArea", "identifier": "chatInput",
               "frame": [260, 610, 730, 180], "value": "draft", "selected_range": [5, 0]}]}]}]}]}},
    {"pid": 601, "bundle": "app.tamsel.fixtureopaque", "name": "Opaque Fixture",
     "paste": {"read_delay": 0.05}, "focused": "opaque-field",
     "tree": {"children": [
       {"id": "opaque-window", "frame": [0, 0, 600, 400], "window_number": 50, "children": [
         {"id": "opaque-field", "role": "AXGroup", "frame": [0, 200, 600, 200]}]}]}},
    {"pid": 602, "bundle": "app.tamsel.fixturecomposer", "name": "Composer Fixture",
     "paste": {"read_delay": 0.05}, "focused": "fixture-composer",
     "tree": {"children": [
       {"id": "fixture-window", "frame": [0, 0, 600, 400], "window_number": 51, "children": [
         {"id": "fixture-composer", "role": "AXTextArea", "frame": [0, 250, 600, 150],
          "value": "", "text_marker": "marked"}]}]}},
    {"pid": 604, "bundle": "com.example.hung", "name": "Hung", "hung": true, "focused": "hung-field",
     "tree": {"children": [
       {"id": "hung-window", "frame": [0, 0, 300, 300], "window_number": 60, "children": [
         {"id": "hung-field", "role": "AXTextField", "value": "stuck"}]}]}},
    {"pid": 605, "bundle": "com.example.login", "name": "Login", "latency": 0.01,
     "paste": {"read_delay": 0.05}, "focused": "password",
     "tree": {"children": [
       {"id": "login-window", "frame": [0, 0, 300, 300], "window_number": 61, "children": [
         {"id": "password", "role": "AXTextField", "subrole": "AXSecureTextField",
          "value": "secret", "selected_range": [0, 6]}]}]}}
  ],
  "timeline": [
    {"before_request": 3, "pasteboard": [[{"type": "public.utf8-plain-text", "text": "theirs"}]]},
    {"before_request": 4, "key": 12},
    {"before_request": 5, "focus": "title"},
    {"before_request": 6, "click": {"button": "left", "at": [60, 100]}},
    {"before_request": 7, "select": {"element": "body", "range": [0, 5]}},
    {"before_request": 8, "frontmost": 600},
    {"before_request": 9, "edit": {"element": "composer", "value": "new draft"}},
    {"before_request": 10, "trusted": false},
    {"before_request": 11, "trusted": true},
    {"before_request": 12, "focused_window": "doc2"},
    {"before_request": 13, "frontmost": null},
    {"before_request": 14, "frontmost": 501},
    {"at": 0.3, "pasteboard": [[{"type": "com.example.other", "hex": "ff"}], []]},
    {"at": 1.0, "key": 49},
    {"at": 2.0, "focus": "body"}
  ]
})json";

}  // namespace textport::fuzz
