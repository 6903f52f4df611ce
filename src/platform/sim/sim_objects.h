// The platform objects that the simulated desktop hands out behind the seam's handles.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/platform.h"

namespace textport::sim {

// What an element handle denotes.
enum class ElementKind { systemWide, application, node };

// One element handle object. Like an AXUIElementRef it carries its own messaging timeout:
// copies of the handle share it, a fresh handle for the same UI object starts without one.
class SimElement final : public PlatformObject {
 public:
  SimElement(ElementKind kind, Pid pid, std::string nodeId)
      : kind(kind), pid(pid), nodeId(std::move(nodeId)) {}
  bool equals(const PlatformObject& other) const override;

  const ElementKind kind;
  const Pid pid;             // owning process; 0 for the system-wide element
  const std::string nodeId;  // for nodes only
  std::optional<float> timeout;
};

// An opaque attribute value, such as a text-marker range; equal when the names are.
class SimMarker final : public PlatformObject {
 public:
  explicit SimMarker(std::string name) : name(std::move(name)) {}
  bool equals(const PlatformObject& other) const override;
  const std::string name;
};

class SimEvent;

class SimEventSource final : public PlatformObject {
 public:
  bool equals(const PlatformObject& other) const override { return this == &other; }
};

// A fresh handle (no timeout of its own) for a UI object.
Element makeElement(ElementKind kind, Pid pid, std::string nodeId = {});
Opaque makeMarker(std::string name);
// The simulated object behind a handle, or null when it belongs to another backend.
SimElement* simElement(const Element& element);
const SimMarker* simMarker(const Opaque& opaque);
SimEvent* simEvent(const Event& event);

}  // namespace textport::sim
