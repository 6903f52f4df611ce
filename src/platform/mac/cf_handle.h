// One owned reference on a Core Foundation object: released when the handle goes, retained
// again by each copy.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace textport::mac {

template <class Ref>
class CFHandle {
 public:
  CFHandle() = default;
  // Takes over the reference that a Create or Copy call handed out.
  static CFHandle adopt(Ref ref) { return CFHandle(ref); }
  // Takes a reference of its own on an object that somebody else owns (a Get call's result).
  static CFHandle retain(Ref ref) { return CFHandle(ref ? static_cast<Ref>(CFRetain(ref)) : ref); }

  CFHandle(const CFHandle& other) : ref_(other.ref_) {
    if (ref_) CFRetain(ref_);
  }
  CFHandle(CFHandle&& other) noexcept : ref_(std::exchange(other.ref_, nullptr)) {}
  CFHandle& operator=(CFHandle other) noexcept {
    std::swap(ref_, other.ref_);
    return *this;
  }
  ~CFHandle() {
    if (ref_) CFRelease(ref_);
  }

  Ref get() const { return ref_; }
  explicit operator bool() const { return ref_ != nullptr; }

 private:
  explicit CFHandle(Ref ref) : ref_(ref) {}
  Ref ref_ = nullptr;
};

}  // namespace textport::mac
