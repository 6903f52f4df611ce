#include "platform/sim/sim_world.h"

#include <algorithm>

namespace textport::sim {

SimApp* SimWorld::app(Pid pid) {
  auto it = std::find_if(apps.begin(), apps.end(), [&](const SimApp& a) { return a.pid == pid; });
  return it == apps.end() ? nullptr : &*it;
}

const SimApp* SimWorld::app(Pid pid) const {
  return const_cast<SimWorld*>(this)->app(pid);
}

SimNode* SimWorld::node(const std::string& id) {
  auto it = nodes.find(id);
  return it == nodes.end() ? nullptr : &it->second;
}

const SimNode* SimWorld::node(const std::string& id) const {
  return const_cast<SimWorld*>(this)->node(id);
}

std::optional<std::string> SimWorld::windowOf(const std::string& id) const {
  const SimNode* n = node(id);
  while (n && !n->parent.empty()) n = node(n->parent);
  if (!n) return std::nullopt;
  const SimApp* a = app(n->pid);
  if (!a || std::find(a->windows.begin(), a->windows.end(), n->id) == a->windows.end()) {
    return std::nullopt;  // the menu bar, not a window
  }
  return n->id;
}

}  // namespace textport::sim
