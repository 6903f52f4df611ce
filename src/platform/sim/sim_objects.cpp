#include "platform/sim/sim_objects.h"

#include "platform/sim/sim_events.h"

namespace textport::sim {

bool SimElement::equals(const PlatformObject& other) const {
  const auto* o = dynamic_cast<const SimElement*>(&other);
  return o && o->kind == kind && o->pid == pid && o->nodeId == nodeId;
}

bool SimMarker::equals(const PlatformObject& other) const {
  const auto* o = dynamic_cast<const SimMarker*>(&other);
  return o && o->name == name;
}

Element makeElement(ElementKind kind, Pid pid, std::string nodeId) {
  return Element(std::make_shared<SimElement>(kind, pid, std::move(nodeId)));
}

Opaque makeMarker(std::string name) {
  return Opaque(std::make_shared<SimMarker>(std::move(name)));
}

SimElement* simElement(const Element& element) {
  return dynamic_cast<SimElement*>(element.get());
}

const SimMarker* simMarker(const Opaque& opaque) {
  return dynamic_cast<const SimMarker*>(opaque.get());
}

SimEvent* simEvent(const Event& event) {
  return dynamic_cast<SimEvent*>(event.get());
}

}  // namespace textport::sim
