#include "capture/target_store.h"

#include "capture/activity_counters.h"

namespace textport {

std::string TargetStore::insert(Platform& platform, Element element,
                                std::optional<Element> window, bool composer, bool windowPaste) {
  // No expiry by time: a full store forgets every earlier token at once.
  if (records_.size() >= kCapacity) records_.clear();
  std::string token = platform.newUuid();
  std::uint32_t mice = mouseCount(platform);
  std::uint32_t keys = keyCount(platform);
  records_.insert_or_assign(token, CapturedTarget{std::move(element), std::move(window), composer,
                                                  windowPaste, mice, keys});
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
