#include "platform/sim/sim_pasteboard.h"

namespace textport::sim {

void SimPasteboard::load(std::vector<SimItem> items, std::int64_t changeCount) {
  items_ = std::move(items);
  changeCount_ = changeCount;
}

std::int64_t SimPasteboard::clear() {
  items_.clear();
  watching_ = false;
  return ++changeCount_;
}

void SimPasteboard::setData(const std::string& type, Bytes data) {
  if (items_.empty()) items_.emplace_back();
  SimItem& first = items_.front();
  for (auto& representation : first) {
    if (representation.type == type) {
      representation.data = std::move(data);
      return;
    }
  }
  first.push_back({type, std::move(data)});
}

void SimPasteboard::write(std::vector<SimItem> items) {
  for (auto& item : items) items_.push_back(std::move(item));
}

std::optional<Bytes> SimPasteboard::data(const std::string& type) const {
  for (const SimItem& item : items_) {
    for (const auto& representation : item) {
      if (representation.type == type) return representation.data;
    }
  }
  return std::nullopt;
}

std::optional<Bytes> SimPasteboard::read(const std::string& type) {
  std::optional<Bytes> found = data(type);
  // Only the first item is ever watched, and a read of the type answers from the first item
  // that lists it.
  if (watching_ && found && type == kPlainTextType && !items_.empty()) {
    for (const auto& representation : items_.front()) {
      if (representation.type == type) ++watchedReads_;
    }
  }
  return found;
}

std::size_t SimPasteboard::size() const {
  std::size_t total = 0;
  for (const auto& item : items_) {
    for (const auto& representation : item) {
      if (representation.data) total += representation.data->size();
    }
  }
  return total;
}

}  // namespace textport::sim
