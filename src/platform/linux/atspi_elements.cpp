#include "platform/linux/atspi_elements.h"

#include <cstring>
#include <memory>

namespace textport::x11 {

namespace {

const char* busName(AtspiAccessible* accessible) {
  const AtspiObject* object = ATSPI_OBJECT(accessible);
  return object->app != nullptr ? object->app->bus_name : nullptr;
}

bool sameObject(AtspiAccessible* a, AtspiAccessible* b) {
  if (a == b) return true;
  if (a == nullptr || b == nullptr) return false;
  const char* busA = busName(a);
  const char* busB = busName(b);
  const char* pathA = ATSPI_OBJECT(a)->path;
  const char* pathB = ATSPI_OBJECT(b)->path;
  return busA != nullptr && busB != nullptr && pathA != nullptr && pathB != nullptr &&
         std::strcmp(busA, busB) == 0 && std::strcmp(pathA, pathB) == 0;
}

}  // namespace

bool AtspiElement::equals(const PlatformObject& other) const {
  const auto* that = dynamic_cast<const AtspiElement*>(&other);
  if (that == nullptr || that->kind_ != kind_) return false;
  switch (kind_) {
    case ElementKind::systemWide:
      return true;
    case ElementKind::application:
      return pid_ == that->pid_;
    case ElementKind::node:
      return sameObject(accessible(), that->accessible());
  }
  return false;
}

AtspiElement* atspiElement(const Element& element) {
  return dynamic_cast<AtspiElement*>(element.get());
}

Element systemWideElement() {
  return Element(
      std::make_shared<AtspiElement>(ElementKind::systemWide, AccessibleRef{}, std::nullopt));
}

Element applicationElement(Pid pid, AccessibleRef root) {
  return Element(std::make_shared<AtspiElement>(ElementKind::application, std::move(root), pid));
}

Element nodeElement(AccessibleRef accessible, std::optional<Pid> pid) {
  return Element(std::make_shared<AtspiElement>(ElementKind::node, std::move(accessible), pid));
}

bool isApplicationRoot(AtspiAccessible* accessible) {
  const char* path = ATSPI_OBJECT(accessible)->path;
  return path != nullptr && std::strcmp(path, kRootPath) == 0;
}

}  // namespace textport::x11
