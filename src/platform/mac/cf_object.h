// The platform object behind every Element, Opaque, Event and EventSource handle of this
// backend: one retained Core Foundation object.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <memory>

#include "platform/mac/cf_handle.h"
#include "platform/platform.h"

namespace textport::mac {

class CFObject final : public PlatformObject {
 public:
  explicit CFObject(CFHandle<CFTypeRef> ref) : ref_(std::move(ref)) {}
  CFTypeRef ref() const { return ref_.get(); }
  bool equals(const PlatformObject& other) const override {
    const auto* object = dynamic_cast<const CFObject*>(&other);
    return object && CFEqual(ref_.get(), object->ref());
  }

 private:
  CFHandle<CFTypeRef> ref_;
};

// A handle on the object, or an empty handle for a null reference.
template <class H, class Ref>
H wrap(CFHandle<Ref> ref) {
  if (!ref) return H();
  return H(std::make_shared<CFObject>(CFHandle<CFTypeRef>::retain(ref.get())));
}

// The object behind a handle (still owned by the handle), or null for an empty one.
template <class Tag>
CFTypeRef unwrap(const Handle<Tag>& handle) {
  const auto* object = dynamic_cast<const CFObject*>(handle.get());
  return object ? object->ref() : nullptr;
}

}  // namespace textport::mac
