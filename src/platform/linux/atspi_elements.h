// Accessibility elements on AT-SPI: a reference on a libatspi object, the messaging timeout set
// on the element, and the kinds macOS has that AT-SPI lacks (the system-wide element, and an
// application element made for a process before anyone knows its accessible object).
#pragma once

#include <atspi/atspi.h>

#include <optional>
#include <utility>

#include "platform/platform.h"

namespace textport::x11 {

// Owns one reference on a GObject.
template <class T>
class GObjectRef {
 public:
  GObjectRef() = default;
  // Takes over a reference the caller owns (what libatspi's "transfer full" getters return).
  static GObjectRef adopt(T* object) {
    GObjectRef ref;
    ref.object_ = object;
    return ref;
  }
  // Takes a reference of its own.
  static GObjectRef retain(T* object) {
    if (object) g_object_ref(object);
    return adopt(object);
  }
  GObjectRef(const GObjectRef& other) : object_(other.object_) {
    if (object_) g_object_ref(object_);
  }
  GObjectRef(GObjectRef&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  GObjectRef& operator=(GObjectRef other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~GObjectRef() {
    if (object_) g_object_unref(object_);
  }
  T* get() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  T* object_ = nullptr;
};

using AccessibleRef = GObjectRef<AtspiAccessible>;

enum class ElementKind { systemWide, application, node };

class AtspiElement final : public PlatformObject {
 public:
  AtspiElement(ElementKind kind, AccessibleRef accessible, std::optional<Pid> pid)
      : kind_(kind), accessible_(std::move(accessible)), pid_(pid) {}

  // System-wide elements are all one; application elements are one per process; other elements
  // are one per D-Bus object (bus name and path).
  bool equals(const PlatformObject& other) const override;

  ElementKind kind() const { return kind_; }
  // A node's object; an application's root object once found (nothing before).
  AtspiAccessible* accessible() const { return accessible_.get(); }
  void setAccessible(AccessibleRef accessible) { accessible_ = std::move(accessible); }
  // An application's process from the start; a node's once asked (it never changes).
  std::optional<Pid> pid() const { return pid_; }
  void setPid(Pid pid) { pid_ = pid; }
  // The messaging timeout set on this element, in seconds.
  std::optional<double> timeout() const { return timeout_; }
  void setTimeout(std::optional<double> seconds) { timeout_ = seconds; }

 private:
  ElementKind kind_;
  AccessibleRef accessible_;
  std::optional<Pid> pid_;
  std::optional<double> timeout_;
};

// The element behind a handle, or null for an empty handle or another backend's object.
AtspiElement* atspiElement(const Element& element);

Element systemWideElement();
Element applicationElement(Pid pid, AccessibleRef root = {});
// A node of the process, when known: every object of an application shares its process.
Element nodeElement(AccessibleRef accessible, std::optional<Pid> pid);

// The path of an application's root object, the parent of its windows.
inline constexpr const char* kRootPath = "/org/a11y/atspi/accessible/root";
bool isApplicationRoot(AtspiAccessible* accessible);

}  // namespace textport::x11
