// The small pieces of world files: numbers, geometry, error codes, typed attribute values,
// pasteboard items and timeline entries.
#include <cmath>
#include <limits>

#include "platform/sim/sim_keyboard.h"
#include "platform/sim/sim_objects.h"
#include "platform/sim/sim_text.h"
#include "platform/sim/sim_world.h"
#include "platform/sim/world_loader.h"

namespace textport::sim {

using nlohmann::json;

[[noreturn]] void fail(const std::string& path, std::string what) {
  throw LoadError{path, std::move(what)};
}

namespace {

std::vector<double> readNumbers(const json& j, const std::string& path, std::size_t count,
                                const char* shape) {
  if (!j.is_array() || j.size() != count) fail(path, std::string("expected ") + shape);
  std::vector<double> out;
  for (std::size_t i = 0; i < count; ++i) out.push_back(readNumber(j[i], at(path, i)));
  return out;
}

std::string elementId(const json& j, const std::string& path, const SimWorld& world) {
  std::string id = readString(j, path);
  if (!world.node(id)) fail(path, "no element has the id \"" + id + "\"");
  return id;
}

}  // namespace

std::string at(const std::string& path, std::string_view key) {
  return path.empty() ? std::string(key) : path + "." + std::string(key);
}

std::string at(const std::string& path, std::size_t index) {
  return path + "[" + std::to_string(index) + "]";
}

void requireObject(const json& j, const std::string& path,
                   std::initializer_list<std::string_view> allowed) {
  if (!j.is_object()) fail(path, "expected an object");
  for (const auto& [key, value] : j.items()) {
    bool known = false;
    for (auto name : allowed) known = known || name == key;
    if (!known) fail(at(path, key), "unknown key");
  }
}

std::string readString(const json& j, const std::string& path) {
  if (!j.is_string()) fail(path, "expected a string");
  return j.get<std::string>();
}

bool readBool(const json& j, const std::string& path) {
  if (!j.is_boolean()) fail(path, "expected true or false");
  return j.get<bool>();
}

double readNumber(const json& j, const std::string& path) {
  if (!j.is_number()) fail(path, "expected a number");
  const double value = j.get<double>();
  if (!std::isfinite(value)) fail(path, "expected a finite number");
  return value;
}

double readDuration(const json& j, const std::string& path) {
  const double value = readNumber(j, path);
  if (value < 0) fail(path, "expected a number of seconds, 0 or more");
  return value;
}

std::int64_t readInteger(const json& j, const std::string& path, std::int64_t min,
                         std::int64_t max) {
  if (!j.is_number_integer()) fail(path, "expected an integer");
  // Unsigned JSON integers above the signed range are out of every range used here.
  if (j.is_number_unsigned() && j.get<std::uint64_t>() > static_cast<std::uint64_t>(max)) {
    fail(path, "expected an integer from " + std::to_string(min) + " to " + std::to_string(max));
  }
  const auto value = j.get<std::int64_t>();
  if (value < min || value > max) {
    fail(path, "expected an integer from " + std::to_string(min) + " to " + std::to_string(max));
  }
  return value;
}

Pid readPid(const json& j, const std::string& path) {
  return static_cast<Pid>(readInteger(j, path, 1, std::numeric_limits<Pid>::max()));
}

AXError readErrorCode(const json& j, const std::string& path) {
  if (j.is_string()) {
    for (const auto& named : kErrorNames) {
      if (named.name == j.get<std::string>()) return named.code;
    }
    fail(path, "unknown error name \"" + j.get<std::string>() + "\"");
  }
  if (!j.is_number_integer()) fail(path, "expected an error code (an integer or a name)");
  return static_cast<AXError>(readInteger(j, path, std::numeric_limits<AXError>::min(),
                                          std::numeric_limits<AXError>::max()));
}

Point readPoint(const json& j, const std::string& path) {
  const auto v = readNumbers(j, path, 2, "[x, y]");
  return {v[0], v[1]};
}

Rect readRect(const json& j, const std::string& path) {
  const auto v = readNumbers(j, path, 4, "[x, y, width, height]");
  return {{v[0], v[1]}, {v[2], v[3]}};
}

Range readRange(const json& j, const std::string& path) {
  if (!j.is_array() || j.size() != 2) fail(path, "expected [location, length]");
  const std::int64_t max = std::numeric_limits<std::int32_t>::max();
  return {readInteger(j[0], at(path, 0), 0, max), readInteger(j[1], at(path, 1), 0, max)};
}

Value readValue(const json& j, const std::string& path, References& references) {
  if (j.is_null()) return Value();
  if (j.is_string()) return j.get<std::string>();
  if (j.is_boolean()) return j.get<bool>();
  if (j.is_number_integer()) {
    return readInteger(j, path, std::numeric_limits<std::int64_t>::min(),
                       std::numeric_limits<std::int64_t>::max());
  }
  if (j.is_number()) return readNumber(j, path);
  if (j.is_array()) {
    ValueList list;
    for (std::size_t i = 0; i < j.size(); ++i)
      list.push_back(readValue(j[i], at(path, i), references));
    return list;
  }
  if (!j.is_object() || j.size() != 1) {
    fail(path, "expected a value, or an object with one key naming its type");
  }
  // The key and value are taken from the object's own iterator: a binding to the element of a
  // temporary items() proxy would outlive that proxy.
  const auto only = j.begin();
  const std::string type = only.key();
  const json& v = only.value();
  const std::string inner = at(path, type);
  if (type == "string") return readString(v, inner);
  if (type == "bool") return readBool(v, inner);
  if (type == "int") {
    return readInteger(v, inner, std::numeric_limits<std::int64_t>::min(),
                       std::numeric_limits<std::int64_t>::max());
  }
  if (type == "float") return readNumber(v, inner);
  if (type == "nothing") return Value();
  if (type == "list") {
    if (!v.is_array()) fail(inner, "expected a list");
    return readValue(v, inner, references);
  }
  if (type == "point") return readPoint(v, inner);
  if (type == "size") {
    // "nan" stands for a width or height that is not a number, as a broken element may answer.
    if (!v.is_array() || v.size() != 2) fail(inner, "expected [width, height]");
    double s[2];
    for (std::size_t i = 0; i < 2; ++i) {
      s[i] =
          v[i] == "nan" ? std::numeric_limits<double>::quiet_NaN() : readNumber(v[i], at(inner, i));
    }
    return Size{s[0], s[1]};
  }
  if (type == "rect") return readRect(v, inner);
  if (type == "range") return readRange(v, inner);
  if (type == "attributed") return AttributedString{readString(v, inner)};
  if (type == "marker") return makeMarker("marker:" + readString(v, inner));
  if (type == "element") {
    std::string id = readString(v, inner);
    references.emplace_back(inner, id);
    return makeElement(ElementKind::node, 0, std::move(id));
  }
  fail(inner, "unknown value type");
}

std::map<std::string, Value> readValues(const json& j, const std::string& path,
                                        References& references) {
  if (!j.is_object()) fail(path, "expected an object of attribute values");
  std::map<std::string, Value> out;
  for (const auto& [name, value] : j.items())
    out[name] = readValue(value, at(path, name), references);
  return out;
}

std::map<std::string, AXError> readErrorCodes(const json& j, const std::string& path) {
  if (!j.is_object()) fail(path, "expected an object of error codes");
  std::map<std::string, AXError> out;
  for (const auto& [name, value] : j.items()) out[name] = readErrorCode(value, at(path, name));
  return out;
}

std::vector<SimItem> readPasteboardItems(const json& j, const std::string& path) {
  if (!j.is_array()) fail(path, "expected a list of items");
  std::vector<SimItem> items;
  for (std::size_t i = 0; i < j.size(); ++i) {
    const std::string itemPath = at(path, i);
    if (!j[i].is_array()) fail(itemPath, "expected a list of representations");
    SimItem& item = items.emplace_back();
    for (std::size_t k = 0; k < j[i].size(); ++k) {
      const std::string p = at(itemPath, k);
      const json& r = j[i][k];
      requireObject(r, p, {"type", "text", "base64", "hex", "lazy"});
      if (!r.contains("type")) fail(p, "missing \"type\"");
      PasteboardRepresentation representation{readString(r["type"], at(p, "type")), std::nullopt};
      const int given = static_cast<int>(r.contains("text")) +
                        static_cast<int>(r.contains("base64")) +
                        static_cast<int>(r.contains("hex"));
      const bool lazy = r.contains("lazy") && readBool(r["lazy"], at(p, "lazy"));
      if (given > 1) fail(p, "give only one of \"text\", \"base64\" and \"hex\"");
      if (given == 0 && !lazy)
        fail(p, "missing \"text\", \"base64\" or \"hex\" (or \"lazy\": true)");
      if (given == 1 && lazy) fail(at(p, "lazy"), "a lazy representation has no data");
      if (r.contains("text")) representation.data = toBytes(readString(r["text"], at(p, "text")));
      if (r.contains("base64")) {
        representation.data = fromBase64(readString(r["base64"], at(p, "base64")));
        if (!representation.data) fail(at(p, "base64"), "not valid base64");
      }
      if (r.contains("hex")) {
        representation.data = fromHex(readString(r["hex"], at(p, "hex")));
        if (!representation.data) fail(at(p, "hex"), "not valid hexadecimal");
      }
      item.push_back(std::move(representation));
    }
  }
  return items;
}

TimelineEntry readTimelineEntry(const json& j, const std::string& path, const SimWorld& world,
                                bool timeRequired) {
  requireObject(j, path,
                {"at",
                 "before_request",
                 "key",
                 "click",
                 "focus",
                 "frontmost",
                 "focused_window",
                 "key_up",
                 "move",
                 "scroll",
                 "drag",
                 "focus_lost",
                 "window_lost",
                 "app",
                 "fails",
                 "pasteboard_refuses_writes",
                 "select",
                 "edit",
                 "pasteboard",
                 "trusted",
                 "post_denied",
                 "hold"});
  TimelineEntry entry;
  if (j.contains("at") && j.contains("before_request")) {
    fail(path, "give either \"at\" or \"before_request\", not both");
  }
  if (j.contains("at")) entry.at = readDuration(j["at"], at(path, "at"));
  if (j.contains("before_request")) {
    entry.beforeRequest =
        static_cast<std::uint64_t>(readInteger(j["before_request"], at(path, "before_request"), 1,
                                               std::numeric_limits<std::int64_t>::max()));
  }
  if (timeRequired && !entry.at && !entry.beforeRequest) {
    fail(path, "missing \"at\" or \"before_request\"");
  }
  const std::size_t actions = j.size() - (entry.at ? 1 : 0) - (entry.beforeRequest ? 1 : 0);
  if (actions != 1) {
    fail(path,
         "expected exactly one action (key, key_up, click, move, drag, scroll, hold, focus, "
         "focus_lost, focused_window, window_lost, frontmost, select, edit, pasteboard, "
         "pasteboard_refuses_writes, app, fails, trusted or post_denied)");
  }
  if (j.contains("key")) {
    const json& k = j["key"];
    const std::string p = at(path, "key");
    KeyPress key;
    if (k.is_object()) {
      requireObject(k, p, {"code", "flags"});
      if (!k.contains("code")) fail(p, "missing \"code\"");
      key.keyCode = static_cast<std::uint16_t>(readInteger(k["code"], at(p, "code"), 0, 0xFFFF));
      if (k.contains("flags")) {
        key.flags = static_cast<std::uint64_t>(
            readInteger(k["flags"], at(p, "flags"), 0, std::numeric_limits<std::int64_t>::max()));
      }
    } else {
      key.keyCode = static_cast<std::uint16_t>(readInteger(k, p, 0, 0xFFFF));
    }
    entry.action = key;
  } else if (j.contains("click")) {
    const json& c = j["click"];
    const std::string p = at(path, "click");
    requireObject(c, p, {"button", "at"});
    Click click;
    if (c.contains("button")) {
      const std::string button = readString(c["button"], at(p, "button"));
      if (button == "left")
        click.button = MouseButton::left;
      else if (button == "right")
        click.button = MouseButton::right;
      else if (button == "other")
        click.button = MouseButton::center;
      else
        fail(at(p, "button"), "expected \"left\", \"right\" or \"other\"");
    }
    if (c.contains("at")) click.at = readPoint(c["at"], at(p, "at"));
    entry.action = click;
  } else if (j.contains("key_up")) {
    entry.action = InputEvent{
        EventType::keyUp,
        static_cast<std::uint16_t>(readInteger(j["key_up"], at(path, "key_up"), 0, 0xFFFF)),
        std::nullopt};
  } else if (j.contains("move") || j.contains("drag")) {
    const bool drag = j.contains("drag");
    const char* key = drag ? "drag" : "move";
    entry.action = InputEvent{drag ? EventType::leftMouseDragged : EventType::mouseMoved, 0,
                              readPoint(j[key], at(path, key))};
  } else if (j.contains("scroll")) {
    readInteger(j["scroll"], at(path, "scroll"), -1000, 1000);  // lines; any number is one event
    entry.action = InputEvent{EventType::scrollWheel, 0, std::nullopt};
  } else if (j.contains("focus_lost") || j.contains("window_lost")) {
    const bool window = j.contains("window_lost");
    const char* key = window ? "window_lost" : "focus_lost";
    const Pid pid = readPid(j[key], at(path, key));
    if (!world.app(pid)) fail(at(path, key), "no application has the pid " + std::to_string(pid));
    entry.action = FocusLoss{pid, window};
  } else if (j.contains("app")) {
    const std::string p = at(path, "app");
    requireObject(j["app"], p, {"pid", "hung", "latency"});
    if (!j["app"].contains("pid")) fail(p, "missing \"pid\"");
    AppHealth health;
    health.pid = readPid(j["app"]["pid"], at(p, "pid"));
    if (!world.app(health.pid))
      fail(at(p, "pid"), "no application has the pid " + std::to_string(health.pid));
    if (j["app"].contains("hung")) health.hung = readBool(j["app"]["hung"], at(p, "hung"));
    if (j["app"].contains("latency")) {
      health.latency = readDuration(j["app"]["latency"], at(p, "latency"));
    }
    entry.action = health;
  } else if (j.contains("fails")) {
    const std::string p = at(path, "fails");
    const json& f = j["fails"];
    requireObject(f, p, {"pid", "element", "attribute", "error"});
    if (f.contains("pid") == f.contains("element")) {
      fail(p, "expected \"pid\" (the application element) or \"element\"");
    }
    if (!f.contains("attribute") || !f.contains("error"))
      fail(p, "expected \"attribute\" and \"error\"");
    AttributeFailure failure;
    if (f.contains("element")) {
      failure.element = elementId(f["element"], at(p, "element"), world);
      failure.pid = world.node(*failure.element)->pid;
    } else {
      failure.pid = readPid(f["pid"], at(p, "pid"));
      if (!world.app(failure.pid))
        fail(at(p, "pid"), "no application has the pid " + std::to_string(failure.pid));
    }
    failure.attribute = readString(f["attribute"], at(p, "attribute"));
    if (!f["error"].is_null()) failure.error = readErrorCode(f["error"], at(p, "error"));
    entry.action = failure;
  } else if (j.contains("pasteboard_refuses_writes")) {
    entry.action = PasteboardRefusal{
        readBool(j["pasteboard_refuses_writes"], at(path, "pasteboard_refuses_writes"))};
  } else if (j.contains("focus")) {
    entry.action = FocusMove{elementId(j["focus"], at(path, "focus"), world)};
  } else if (j.contains("frontmost")) {
    const std::string p = at(path, "frontmost");
    FrontmostSwitch change;
    if (!j["frontmost"].is_null()) {
      change.pid = readPid(j["frontmost"], p);
      if (!world.app(*change.pid))
        fail(p, "no application has the pid " + std::to_string(*change.pid));
    }
    entry.action = change;
  } else if (j.contains("focused_window")) {
    const std::string p = at(path, "focused_window");
    const std::string id = elementId(j["focused_window"], p, world);
    if (world.windowOf(id) != id) fail(p, "\"" + id + "\" is not a window");
    entry.action = WindowSwitch{id};
  } else if (j.contains("select")) {
    const std::string p = at(path, "select");
    requireObject(j["select"], p, {"element", "range"});
    if (!j["select"].contains("element") || !j["select"].contains("range")) {
      fail(p, "expected \"element\" and \"range\"");
    }
    const std::string id = elementId(j["select"]["element"], at(p, "element"), world);
    const Range range = readRange(j["select"]["range"], at(p, "range"));
    const SimNode* node = world.node(id);
    if (!node->value) fail(at(p, "element"), "\"" + id + "\" has no text value");
    if (range.location + range.length > static_cast<std::int64_t>(toUtf16(*node->value).size())) {
      fail(at(p, "range"), "lies outside the element's text");
    }
    entry.action = SelectionMove{id, range};
  } else if (j.contains("edit")) {
    const std::string p = at(path, "edit");
    requireObject(j["edit"], p, {"element", "value", "range"});
    if (!j["edit"].contains("element") || !j["edit"].contains("value")) {
      fail(p, "expected \"element\" and \"value\"");
    }
    TextEdit edit{elementId(j["edit"]["element"], at(p, "element"), world),
                  readString(j["edit"]["value"], at(p, "value")), std::nullopt};
    if (j["edit"].contains("range")) {
      edit.range = readRange(j["edit"]["range"], at(p, "range"));
      if (edit.range->location + edit.range->length >
          static_cast<std::int64_t>(toUtf16(edit.value).size())) {
        fail(at(p, "range"), "lies outside the new text");
      }
    }
    entry.action = edit;
  } else if (j.contains("pasteboard")) {
    entry.action = PasteboardChange{readPasteboardItems(j["pasteboard"], at(path, "pasteboard"))};
  } else if (j.contains("hold")) {
    const std::string p = at(path, "hold");
    if (!j["hold"].is_array()) fail(p, "expected a list of modifier names");
    HoldModifiers hold;
    for (std::size_t i = 0; i < j["hold"].size(); ++i) {
      const auto flag = modifierFlag(readString(j["hold"][i], at(p, i)));
      if (!flag) fail(at(p, i), "expected \"shift\", \"control\", \"option\" or \"command\"");
      hold.flags |= *flag;
    }
    entry.action = hold;
  } else if (j.contains("post_denied")) {
    entry.action = PostPermissionChange{readBool(j["post_denied"], at(path, "post_denied"))};
  } else {
    entry.action = TrustChange{readBool(j["trusted"], at(path, "trusted"))};
  }
  return entry;
}

}  // namespace textport::sim
