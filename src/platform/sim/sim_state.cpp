// The final state of a simulated desktop as JSON, for textport-sim's --state-out and tests.
#include <algorithm>
#include <cmath>
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

// The record as one list in the order things happened: the newest kStateRecord entries.
constexpr std::size_t kStateRecord = 10000;

json eventJson(const PostedEvent& e) {
  json event = {{"time", e.time}, {"type", eventTypeName(e.type)}, {"flags", e.flags}};
  if (e.keyboard) {
    event["key_code"] = e.keyCode;
  } else {
    event["location"] = {e.location.x, e.location.y};
    event["button"] = static_cast<std::uint32_t>(e.button);
  }
  return event;
}

// Timeouts are single-precision on the platform; the record shows the value that was meant.
double rounded(double seconds) {
  return std::round(seconds * 1e6) / 1e6;
}

json recordJson(const SimRecord& record) {
  std::vector<std::pair<std::uint64_t, json>> entries;
  for (const auto& r : record.requests) {
    entries.emplace_back(r.order, json{{"time", r.time},
                                       {"kind", "request"},
                                       {"operation", r.operation},
                                       {"name", r.name},
                                       {"pid", r.pid},
                                       {"element", r.element},
                                       {"timeout", rounded(r.timeout)},
                                       {"timeout_source", toString(r.timeoutSource)},
                                       {"result", errorName(r.result)}});
  }
  for (const auto& t : record.timeouts) {
    entries.emplace_back(t.order, json{{"time", t.time},
                                       {"kind", "set_timeout"},
                                       {"pid", t.pid},
                                       {"element", t.element},
                                       {"seconds", rounded(t.seconds)}});
  }
  for (const auto& w : record.waits) {
    entries.emplace_back(
        w.order,
        json{{"time", w.time}, {"kind", w.runLoop ? "run_loop" : "sleep"}, {"seconds", w.seconds}});
  }
  for (const auto& e : record.posted) {
    json event = eventJson(e);
    event["kind"] = "event";
    entries.emplace_back(e.order, std::move(event));
  }
  for (const auto& p : record.pasteboardWrites) {
    entries.emplace_back(p.order, json{{"time", p.time},
                                       {"kind", "pasteboard"},
                                       {"writer", p.writer},
                                       {"operation", p.operation},
                                       {"change_count", p.changeCount}});
  }
  for (const auto& h : record.happenings) {
    entries.emplace_back(
        h.order,
        json{{"time", h.time}, {"kind", "happened"}, {"what", h.what}, {"detail", h.detail}});
  }
  std::sort(entries.begin(), entries.end(),
            [](const auto& a, const auto& b) { return a.first < b.first; });
  json list = json::array();
  const std::size_t skip = entries.size() > kStateRecord ? entries.size() - kStateRecord : 0;
  for (std::size_t i = skip; i < entries.size(); ++i) list.push_back(std::move(entries[i].second));
  return list;
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
  for (const auto& e : record_.posted) events.push_back(eventJson(e));
  state["posted_events"] = events;
  json counters = json::object();
  for (const auto& known : kEventTypeNames) {
    const EventType type = known.type;
    counters[eventTypeName(type)] = input_.counter(type);
  }
  state["counters"] = counters;
  state["pointer"] = {input_.pointer().x, input_.pointer().y};
  if (manager_) state["clipboard_history"] = manager_->history;
  state["record"] = recordJson(record_);
  return state.dump(2) + "\n";
}

}  // namespace textport::sim
