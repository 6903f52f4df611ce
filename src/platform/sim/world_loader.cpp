// World files: the top level, applications and their element trees.
#include "platform/sim/world_loader.h"

#include <algorithm>
#include <limits>

#include "platform/sim/sim_desktop.h"
#include "platform/sim/sim_text.h"

namespace textport::sim {

using nlohmann::json;

namespace {

class WorldReader {
 public:
  explicit WorldReader(SimDesktop& desktop) : desktop_(desktop), world_(desktop.world()) {}

  void read(const json& document) {
    requireObject(document, "",
                  {"trusted", "frontmost", "counters", "pointer", "pasteboard",
                   "pasteboard_change_count", "events", "system", "apps", "timeline", "keyboard",
                   "clipboard_manager", "pasteboard_refuses_writes"});
    if (document.contains("apps")) readApps(document["apps"], "apps");
    if (document.contains("system")) readSystem(document["system"], "system");
    checkReferences();
    if (document.contains("trusted")) desktop_.setTrusted(readBool(document["trusted"], "trusted"));
    if (document.contains("frontmost") && !document["frontmost"].is_null()) {
      const Pid pid = readPid(document["frontmost"], "frontmost");
      if (!world_.app(pid)) fail("frontmost", "no application has the pid " + std::to_string(pid));
      desktop_.setFrontmost(pid);
    }
    if (document.contains("counters")) readCounters(document["counters"], "counters");
    if (document.contains("pointer")) {
      desktop_.input().setPointer(readPoint(document["pointer"], "pointer"));
    }
    if (document.contains("events")) readEventFailures(document["events"], "events");
    if (document.contains("keyboard")) readKeyboard(document["keyboard"], "keyboard");
    if (document.contains("clipboard_manager")) {
      const std::string p = "clipboard_manager";
      requireObject(document[p], p, {"delay"});
      desktop_.addClipboardManager(
          document[p].contains("delay") ? readDuration(document[p]["delay"], at(p, "delay")) : 0);
    }
    std::int64_t changeCount = 0;
    if (document.contains("pasteboard_change_count")) {
      changeCount = readInteger(document["pasteboard_change_count"], "pasteboard_change_count", 0,
                                std::numeric_limits<std::int64_t>::max() / 2);
    }
    std::vector<SimItem> items;
    if (document.contains("pasteboard"))
      items = readPasteboardItems(document["pasteboard"], "pasteboard");
    desktop_.pasteboard().load(std::move(items), changeCount);
    if (document.contains("pasteboard_refuses_writes")) {
      desktop_.pasteboard().refuseWrites(
          readBool(document["pasteboard_refuses_writes"], "pasteboard_refuses_writes"));
    }
    if (document.contains("timeline")) {
      const json& timeline = document["timeline"];
      if (!timeline.is_array()) fail("timeline", "expected a list of entries");
      for (std::size_t i = 0; i < timeline.size(); ++i) {
        desktop_.timeline().add(readTimelineEntry(timeline[i], at("timeline", i), world_, true));
      }
    }
  }

 private:
  void readApps(const json& apps, const std::string& path) {
    if (!apps.is_array()) fail(path, "expected a list of applications");
    for (std::size_t i = 0; i < apps.size(); ++i) readApp(apps[i], at(path, i));
  }

  void readApp(const json& j, const std::string& path) {
    requireObject(j, path,
                  {"pid", "bundle", "name", "latency", "action_latency", "hung",
                   "late_actions_happen", "copy", "paste", "accessibility", "focused",
                   "focused_window", "tree", "menu_bar", "reported_pid"});
    if (!j.contains("pid")) fail(path, "missing \"pid\"");
    SimApp app;
    app.pid = readPid(j["pid"], at(path, "pid"));
    if (world_.app(app.pid))
      fail(at(path, "pid"), "another application has the pid " + std::to_string(app.pid));
    if (j.contains("bundle")) app.bundle = readString(j["bundle"], at(path, "bundle"));
    if (j.contains("name")) app.name = readString(j["name"], at(path, "name"));
    if (j.contains("latency")) app.latency = readDuration(j["latency"], at(path, "latency"));
    if (j.contains("hung")) app.hung = readBool(j["hung"], at(path, "hung"));
    if (j.contains("reported_pid")) {
      app.reportedPid = readPid(j["reported_pid"], at(path, "reported_pid"));
    }
    if (j.contains("action_latency")) {
      app.actionLatency = readDuration(j["action_latency"], at(path, "action_latency"));
    }
    if (j.contains("late_actions_happen")) {
      app.lateActionsHappen = readBool(j["late_actions_happen"], at(path, "late_actions_happen"));
    }
    if (j.contains("copy")) app.copy = readCopy(j["copy"], at(path, "copy"));
    if (j.contains("paste")) {
      const std::string p = at(path, "paste");
      requireObject(j["paste"], p, {"read_delay"});
      PasteBehaviour paste;
      if (j["paste"].contains("read_delay")) {
        paste.readDelay = readDuration(j["paste"]["read_delay"], at(p, "read_delay"));
      }
      app.paste = paste;
    }
    if (j.contains("accessibility")) readSwitch(j["accessibility"], at(path, "accessibility"), app);
    world_.apps.push_back(app);
    const std::size_t index = world_.apps.size() - 1;

    if (j.contains("tree")) {
      const std::string p = at(path, "tree");
      const json& tree = j["tree"];
      requireObject(tree, p, {"attributes", "errors", "children"});
      SimApp& a = world_.apps[index];
      if (tree.contains("attributes"))
        a.attributes = readValues(tree["attributes"], at(p, "attributes"), references_);
      if (tree.contains("errors")) a.errors = readErrorCodes(tree["errors"], at(p, "errors"));
      if (tree.contains("children")) {
        const json& windows = tree["children"];
        const std::string wp = at(p, "children");
        if (!windows.is_array()) fail(wp, "expected a list of elements");
        for (std::size_t i = 0; i < windows.size(); ++i) {
          const std::string id = readNode(windows[i], at(wp, i), app.pid, "", "AXWindow");
          world_.apps[index].windows.push_back(id);
        }
      }
    }
    if (j.contains("menu_bar")) {
      world_.apps[index].menuBar =
          readNode(j["menu_bar"], at(path, "menu_bar"), app.pid, "", "AXMenuBar");
    }
    SimApp& a = world_.apps[index];
    if (j.contains("focused")) {
      const std::string p = at(path, "focused");
      a.focused = readString(j["focused"], p);
      const SimNode* node = world_.node(*a.focused);
      if (!node || node->pid != a.pid)
        fail(p, "no element of this application has the id \"" + *a.focused + "\"");
      a.focusedWindow = world_.windowOf(*a.focused);
    }
    if (j.contains("focused_window")) {
      const std::string p = at(path, "focused_window");
      a.focusedWindow = readString(j["focused_window"], p);
      if (std::find(a.windows.begin(), a.windows.end(), *a.focusedWindow) == a.windows.end()) {
        fail(p, "no window of this application has the id \"" + *a.focusedWindow + "\"");
      }
    }
    if (!a.focusedWindow && !a.windows.empty()) a.focusedWindow = a.windows.front();
  }

  CopyBehaviour readCopy(const json& j, const std::string& path) {
    requireObject(j, path, {"writes", "text", "delay", "data_after_clear", "press_error", "also"});
    CopyBehaviour copy;
    if (j.contains("writes")) {
      const std::string writes = readString(j["writes"], at(path, "writes"));
      if (writes == "selection")
        copy.writes = CopyBehaviour::Writes::selection;
      else if (writes == "text")
        copy.writes = CopyBehaviour::Writes::text;
      else if (writes == "image")
        copy.writes = CopyBehaviour::Writes::image;
      else if (writes == "nothing")
        copy.writes = CopyBehaviour::Writes::nothing;
      else
        fail(at(path, "writes"), "expected \"selection\", \"text\", \"image\" or \"nothing\"");
    }
    if (j.contains("text")) {
      if (copy.writes != CopyBehaviour::Writes::text)
        fail(at(path, "text"), "only with \"writes\": \"text\"");
      copy.text = readString(j["text"], at(path, "text"));
    } else if (copy.writes == CopyBehaviour::Writes::text) {
      fail(path, "missing \"text\"");
    }
    if (j.contains("delay")) copy.delay = readDuration(j["delay"], at(path, "delay"));
    if (j.contains("data_after_clear")) {
      copy.dataAfterClear = readDuration(j["data_after_clear"], at(path, "data_after_clear"));
    }
    if (j.contains("press_error"))
      copy.pressError = readErrorCode(j["press_error"], at(path, "press_error"));
    if (j.contains("also")) {
      const std::vector<SimItem> also =
          readPasteboardItems(json::array({j["also"]}), at(path, "also"));
      for (const auto& representation : also.front()) {
        if (!representation.data) fail(at(path, "also"), "a Copy writes data, not promises");
        copy.also.emplace_back(representation.type, *representation.data);
      }
    }
    return copy;
  }

  void readSwitch(const json& j, const std::string& path, SimApp& app) {
    requireObject(j, path,
                  {"manual_accessibility", "enhanced_user_interface", "focus_needs_switch",
                   "tree_needs_switch", "focus_after_switch"});
    if (j.contains("manual_accessibility")) {
      app.manualAccessibilityResult =
          readErrorCode(j["manual_accessibility"], at(path, "manual_accessibility"));
    }
    if (j.contains("enhanced_user_interface")) {
      app.enhancedUserInterfaceResult =
          readErrorCode(j["enhanced_user_interface"], at(path, "enhanced_user_interface"));
    }
    if (j.contains("focus_needs_switch")) {
      app.focusNeedsSwitch = readBool(j["focus_needs_switch"], at(path, "focus_needs_switch"));
    }
    if (j.contains("tree_needs_switch")) {
      app.treeNeedsSwitch = readBool(j["tree_needs_switch"], at(path, "tree_needs_switch"));
    }
    if (j.contains("focus_after_switch")) {
      const json& focus = j["focus_after_switch"];
      app.focusAfterSwitch = std::optional<std::string>();
      if (!focus.is_null()) {
        app.focusAfterSwitch = readString(focus, at(path, "focus_after_switch"));
        references_.emplace_back(at(path, "focus_after_switch"), **app.focusAfterSwitch);
      }
    }
  }

  // Reads one element and its subtree; returns its id.
  std::string readNode(const json& j, const std::string& path, Pid pid, const std::string& parent,
                       const char* defaultRole) {
    requireObject(j, path,
                  {"id",         "role",          "subrole",     "identifier",     "title",
                   "enabled",    "frame",         "value",       "selected_range", "window_number",
                   "cmd_char",   "cmd_modifiers", "text_marker", "copies",         "children",
                   "attributes", "parameterized", "errors",      "set_errors",     "settable",
                   "actions",    "latency"});
    if (!j.contains("id")) fail(path, "missing \"id\"");
    SimNode node;
    node.id = readString(j["id"], at(path, "id"));
    if (node.id.empty()) fail(at(path, "id"), "expected a non-empty id");
    if (world_.node(node.id))
      fail(at(path, "id"), "another element has the id \"" + node.id + "\"");
    node.pid = pid;
    node.parent = parent;
    node.role = j.contains("role") ? readString(j["role"], at(path, "role")) : defaultRole;
    const auto optionalString = [&](const char* key, std::optional<std::string>& field) {
      if (j.contains(key)) field = readString(j[key], at(path, key));
    };
    optionalString("subrole", node.subrole);
    optionalString("identifier", node.identifier);
    optionalString("title", node.title);
    optionalString("cmd_char", node.cmdChar);
    if (j.contains("enabled")) node.enabled = readBool(j["enabled"], at(path, "enabled"));
    if (j.contains("frame")) node.frame = readRect(j["frame"], at(path, "frame"));
    if (j.contains("window_number")) {
      node.windowNumber = readInteger(j["window_number"], at(path, "window_number"),
                                      std::numeric_limits<std::int64_t>::min(),
                                      std::numeric_limits<std::int64_t>::max());
    }
    if (j.contains("cmd_modifiers")) {
      node.cmdModifiers = readInteger(j["cmd_modifiers"], at(path, "cmd_modifiers"), 0, 255);
    }
    if (j.contains("value")) {
      node.value = readString(j["value"], at(path, "value"));
      node.selectedRange = Range{static_cast<std::int64_t>(toUtf16(*node.value).size()), 0};
    }
    if (j.contains("selected_range")) {
      const std::string p = at(path, "selected_range");
      if (!node.value) fail(p, "a selection needs a \"value\"");
      const Range range = readRange(j["selected_range"], p);
      const auto size = static_cast<std::int64_t>(toUtf16(*node.value).size());
      if (range.location + range.length > size) {
        fail(p, "lies outside the value's " + std::to_string(size) + " UTF-16 code units");
      }
      node.selectedRange = range;
    }
    if (j.contains("text_marker")) {
      const json& m = j["text_marker"];
      if (m.is_string()) {
        node.textMarker = true;
        node.textMarkerText = m.get<std::string>();
      } else if (m.is_boolean()) {
        node.textMarker = m.get<bool>();
      } else {
        fail(at(path, "text_marker"), "expected true, false or the marked text");
      }
    }
    if (j.contains("copies")) node.copies = readBool(j["copies"], at(path, "copies"));
    if (j.contains("attributes"))
      node.attributes = readValues(j["attributes"], at(path, "attributes"), references_);
    if (j.contains("parameterized")) {
      node.parameterized = readValues(j["parameterized"], at(path, "parameterized"), references_);
    }
    if (j.contains("errors")) node.errors = readErrorCodes(j["errors"], at(path, "errors"));
    if (j.contains("set_errors"))
      node.setErrors = readErrorCodes(j["set_errors"], at(path, "set_errors"));
    if (j.contains("actions")) node.actions = readErrorCodes(j["actions"], at(path, "actions"));
    if (j.contains("settable")) {
      const std::string p = at(path, "settable");
      if (!j["settable"].is_array()) fail(p, "expected a list of attribute names");
      for (std::size_t i = 0; i < j["settable"].size(); ++i) {
        node.settable.push_back(readString(j["settable"][i], at(p, i)));
      }
    }
    if (j.contains("latency")) node.latency = readDuration(j["latency"], at(path, "latency"));
    const std::string id = node.id;
    world_.nodes.emplace(id, std::move(node));
    if (j.contains("children")) {
      const std::string p = at(path, "children");
      if (!j["children"].is_array()) fail(p, "expected a list of elements");
      for (std::size_t i = 0; i < j["children"].size(); ++i) {
        const std::string child = readNode(j["children"][i], at(p, i), pid, id, "AXGroup");
        world_.nodes.at(id).children.push_back(child);
      }
    }
    return id;
  }

  void readSystem(const json& j, const std::string& path) {
    requireObject(j, path, {"latency", "attributes", "errors"});
    if (j.contains("latency"))
      world_.system.latency = readDuration(j["latency"], at(path, "latency"));
    if (j.contains("attributes")) {
      world_.system.attributes = readValues(j["attributes"], at(path, "attributes"), references_);
    }
    if (j.contains("errors"))
      world_.system.errors = readErrorCodes(j["errors"], at(path, "errors"));
  }

  void readCounters(const json& j, const std::string& path) {
    if (!j.is_object()) fail(path, "expected an object of counters");
    for (const auto& entry : j.items()) {
      const std::string& name = entry.key();
      const json& value = entry.value();
      const auto* known = std::find_if(std::begin(kEventTypeNames), std::end(kEventTypeNames),
                                       [&](const auto& c) { return c.name == name; });
      if (known == std::end(kEventTypeNames)) fail(at(path, name), "unknown counter");
      desktop_.input().setCounter(known->type, static_cast<std::uint32_t>(readInteger(
                                                   value, at(path, name), 0, 0xFFFFFFFF)));
    }
  }

  void readEventFailures(const json& j, const std::string& path) {
    requireObject(j, path,
                  {"source_fails", "keyboard_fails", "keyboard_fails_after", "mouse_fails",
                   "pointer_fails", "post_denied"});
    EventFailures& f = desktop_.input().failures();
    if (j.contains("source_fails"))
      f.source = readBool(j["source_fails"], at(path, "source_fails"));
    if (j.contains("keyboard_fails"))
      f.keyboard = readBool(j["keyboard_fails"], at(path, "keyboard_fails"));
    if (j.contains("keyboard_fails_after")) {
      f.keyboardAfter = static_cast<std::uint32_t>(
          readInteger(j["keyboard_fails_after"], at(path, "keyboard_fails_after"), 0, 0xFFFFFFFF));
    }
    if (j.contains("mouse_fails")) f.mouse = readBool(j["mouse_fails"], at(path, "mouse_fails"));
    if (j.contains("pointer_fails"))
      f.pointer = readBool(j["pointer_fails"], at(path, "pointer_fails"));
    if (j.contains("post_denied"))
      f.postDenied = readBool(j["post_denied"], at(path, "post_denied"));
  }

  // A built-in layout with single keys changed: {"layout": "dvorak", "with_command": {"9": "v"}}.
  void readKeyboard(const json& j, const std::string& path) {
    requireObject(j, path, {"layout", "with_command"});
    SimKeyboard keyboard = *SimKeyboard::named("us");
    if (j.contains("layout")) {
      const std::string name = readString(j["layout"], at(path, "layout"));
      const auto named = SimKeyboard::named(name);
      if (!named) fail(at(path, "layout"), "expected \"us\" or \"dvorak\"");
      keyboard = *named;
    }
    if (j.contains("with_command")) {
      const std::string p = at(path, "with_command");
      if (!j["with_command"].is_object()) fail(p, "expected an object of key code -> character");
      for (const auto& entry : j["with_command"].items()) {
        const std::string kp = at(p, entry.key());
        const std::string& code = entry.key();
        if (code.empty() || code.size() > 3 ||
            code.find_first_not_of("0123456789") != std::string::npos ||
            std::stoi(code) >= static_cast<int>(kKeyCodeCount)) {
          fail(kp, "expected a key code from 0 to 127");
        }
        const std::u16string units = toUtf16(readString(entry.value(), kp));
        char32_t character = units.empty() ? 0 : units[0];
        if (units.size() == 2 && units[0] >= 0xD800 && units[0] < 0xDC00) {
          character = 0x10000 + ((units[0] - 0xD800) << 10) + (units[1] - 0xDC00);
        } else if (units.size() > 1) {
          fail(kp, "expected one character, or \"\" for none");
        }
        keyboard.withCommand[static_cast<std::size_t>(std::stoi(code))] = character;
      }
    }
    desktop_.keyboard() = keyboard;
  }

  void checkReferences() const {
    for (const auto& [path, id] : references_) {
      if (!world_.node(id)) fail(path, "no element has the id \"" + id + "\"");
    }
  }

  SimDesktop& desktop_;
  SimWorld& world_;
  References references_;
};

}  // namespace

std::string formatLoadError(std::string_view source, const LoadError& error) {
  std::string message(source);
  message += ": ";
  message += error.path.empty() ? "top level" : error.path;
  message += ": ";
  message += error.what;
  return message;
}

json parseDocument(std::string_view text) {
  try {
    return json::parse(text.begin(), text.end());
  } catch (const json::parse_error& e) {
    // The library counts bytes from 1; turn the offset into a line and column for people.
    const std::size_t end = std::min<std::size_t>(e.byte == 0 ? 0 : e.byte - 1, text.size());
    std::size_t line = 1;
    std::size_t column = 1;
    for (std::size_t i = 0; i < end; ++i) {
      if (text[i] == '\n') {
        ++line;
        column = 1;
      } else {
        ++column;
      }
    }
    throw LoadError{"line " + std::to_string(line) + ", column " + std::to_string(column),
                    "not valid JSON"};
  }
}

void loadWorld(const json& document, SimDesktop& desktop) {
  WorldReader(desktop).read(document);
}

SimLoad SimDesktop::fromJson(std::string_view text, std::string_view sourceName) {
  auto desktop = std::make_unique<SimDesktop>();
  try {
    loadWorld(parseDocument(text), *desktop);
  } catch (const LoadError& error) {
    return {nullptr, formatLoadError(sourceName, error)};
  }
  return {std::move(desktop), {}};
}

std::optional<std::string> SimDesktop::schedule(std::string_view entryJson) {
  TimelineEntry entry;
  try {
    entry = readTimelineEntry(parseDocument(entryJson), "", world_, false);
  } catch (const LoadError& error) {
    return formatLoadError("timeline entry", error);
  }
  if (!entry.at && !entry.beforeRequest) {
    fire(entry.action);
  } else {
    const bool timed = entry.at.has_value();
    timeline_.add(std::move(entry));
    if (timed) fireDue();  // a time already passed fires now
  }
  return std::nullopt;
}

}  // namespace textport::sim
