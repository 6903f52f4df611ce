// The final state of a simulated desktop as JSON, for textport-sim's --state-out and tests.
#include <nlohmann/json.hpp>

#include "platform/sim/sim_desktop.h"
#include "platform/sim/sim_text.h"

namespace textport::sim {
namespace {

using nlohmann::json;

// Text when the bytes are UTF-8, else base64, so that the state file reads like a world file.
json representationJson(const PasteboardRepresentation& representation) {
  json r = {{"type", representation.type}};
  if (!representation.data) {
    r["lazy"] = true;
  } else if (isUtf8(*representation.data)) {
    r["text"] = toString(*representation.data);
  } else {
    r["base64"] = toBase64(*representation.data);
  }
  return r;
}

}  // namespace

std::string SimDesktop::stateJson() const {
  json state;
  state["time"] = clock_.now();
  state["trusted"] = trusted_;
  state["frontmost"] = frontmost_ ? json(*frontmost_) : json(nullptr);
  json items = json::array();
  for (const auto& item : pasteboard_.items()) {
    json representations = json::array();
    for (const auto& r : item) representations.push_back(representationJson(r));
    items.push_back(representations);
  }
  state["pasteboard"] = items;
  state["pasteboard_change_count"] = pasteboard_.changeCount();
  json fields = json::object();
  for (const auto& [id, node] : world_.nodes) {
    if (!node.value) continue;
    json field = {{"value", *node.value}};
    if (node.selectedRange) {
      field["selected_range"] = {node.selectedRange->location, node.selectedRange->length};
    }
    fields[id] = field;
  }
  state["fields"] = fields;
  json focus = json::object();
  for (const auto& app : world_.apps) {
    focus[std::to_string(app.pid)] = app.focused ? json(*app.focused) : json(nullptr);
  }
  state["focused"] = focus;
  json events = json::array();
  for (const auto& e : record_.posted) {
    json event = {{"time", e.time}, {"type", eventTypeName(e.type)}, {"flags", e.flags}};
    if (e.keyboard) {
      event["key_code"] = e.keyCode;
    } else {
      event["location"] = {e.location.x, e.location.y};
      event["button"] = static_cast<std::uint32_t>(e.button);
    }
    events.push_back(event);
  }
  state["posted_events"] = events;
  json counters = json::object();
  for (auto type : {EventType::leftMouseDown, EventType::rightMouseDown, EventType::otherMouseDown,
                    EventType::keyDown}) {
    counters[eventTypeName(type)] = input_.counter(type);
  }
  state["counters"] = counters;
  state["pointer"] = {input_.pointer().x, input_.pointer().y};
  if (manager_) state["clipboard_history"] = manager_->history;
  return state.dump(2) + "\n";
}

}  // namespace textport::sim
