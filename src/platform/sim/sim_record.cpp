#include "platform/sim/sim_record.h"

#include <algorithm>

namespace textport::sim {

std::size_t SimRecord::writesBy(std::string_view writer) const {
  return std::count_if(pasteboardWrites.begin(), pasteboardWrites.end(),
                       [&](const auto& w) { return w.writer == writer; });
}

std::size_t SimRecord::requestsOnPlatformDefault() const {
  return std::count_if(requests.begin(), requests.end(),
                       [](const auto& r) { return r.timeoutSource == TimeoutSource::platform; });
}

std::size_t SimRecord::count(std::string_view operation, std::string_view name) const {
  return std::count_if(requests.begin(), requests.end(),
                       [&](const auto& r) { return r.operation == operation && r.name == name; });
}

std::string_view toString(TimeoutSource source) {
  switch (source) {
    case TimeoutSource::element:
      return "element";
    case TimeoutSource::process:
      return "process";
    case TimeoutSource::platform:
      return "platform";
  }
  return "platform";
}

}  // namespace textport::sim
