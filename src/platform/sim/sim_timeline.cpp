#include "platform/sim/sim_timeline.h"

#include <algorithm>

namespace textport::sim {

void SimTimeline::add(TimelineEntry entry) {
  if (entry.beforeRequest) {
    keyed_.push_back({*entry.beforeRequest, std::move(entry.action)});
    std::stable_sort(keyed_.begin(), keyed_.end(),
                     [](const Keyed& a, const Keyed& b) { return a.request < b.request; });
  } else {
    timed_.push_back({entry.at.value_or(0), std::move(entry.action)});
    std::stable_sort(timed_.begin(), timed_.end(),
                     [](const Timed& a, const Timed& b) { return a.at < b.at; });
  }
}

std::optional<std::pair<double, SimAction>> SimTimeline::takeDue(double time) {
  if (timed_.empty() || timed_.front().at > time) return std::nullopt;
  return takeNext();
}

std::optional<std::pair<double, SimAction>> SimTimeline::takeNext() {
  if (timed_.empty()) return std::nullopt;
  std::pair<double, SimAction> next{timed_.front().at, std::move(timed_.front().action)};
  timed_.erase(timed_.begin());
  return next;
}

std::vector<SimAction> SimTimeline::takeForRequest(std::uint64_t request) {
  std::vector<SimAction> due;
  auto it = keyed_.begin();
  for (; it != keyed_.end() && it->request <= request; ++it) due.push_back(std::move(it->action));
  keyed_.erase(keyed_.begin(), it);
  return due;
}

}  // namespace textport::sim
