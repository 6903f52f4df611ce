#include "capture/target_store.h"

namespace textport {

const char* targetModeName(TargetMode mode) {
  switch (mode) {
    case TargetMode::focused:
      return "focused";
    case TargetMode::composer:
      return "composer";
    case TargetMode::windowPaste:
      return "window_paste";
  }
  return "focused";
}

std::string TargetStore::insert(Platform& platform, Element element, std::optional<Element> window,
                                TargetMode mode) {
  // No expiry by time: a full store forgets every earlier token at once.
  if (records_.size() >= kCapacity) records_.clear();
  std::string token = platform.newUuid();
  const ActivityCounts activity = activityCounts(platform);
  records_.insert_or_assign(token,
                            CapturedTarget{std::move(element), std::move(window), mode, activity});
  return token;
}

std::optional<CapturedTarget> TargetStore::take(const std::string& token) {
  auto it = records_.find(token);
  if (it == records_.end()) return std::nullopt;
  CapturedTarget record = std::move(it->second);
  records_.erase(it);
  return record;
}

}  // namespace textport
