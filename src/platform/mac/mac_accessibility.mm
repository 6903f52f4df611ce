// Accessibility (HIServices): elements, attributes, actions and messaging timeouts. Error codes
// pass through with the platform's values.
#include <ApplicationServices/ApplicationServices.h>

#include "platform/mac/cf_object.h"
#include "platform/mac/mac_platform.h"
#include "platform/mac/mac_values.h"

namespace textport::mac {

namespace {
AXUIElementRef axElement(const Element& element) {
  return static_cast<AXUIElementRef>(unwrap(element));
}
}  // namespace

bool MacPlatform::isProcessTrusted() {
  return AXIsProcessTrusted();
}

Element MacPlatform::createApplicationElement(Pid pid) {
  return wrap<Element>(CFHandle<AXUIElementRef>::adopt(AXUIElementCreateApplication(pid)));
}

Element MacPlatform::createSystemWideElement() {
  return wrap<Element>(CFHandle<AXUIElementRef>::adopt(AXUIElementCreateSystemWide()));
}

// An empty handle, a name that is not UTF-8 or a value of nothing has no platform object; the
// platform's answer to such an argument is kAXErrorIllegalArgument, given here without handing
// it null.
AXError MacPlatform::setMessagingTimeout(const Element& element, float seconds) {
  if (!axElement(element)) return kAXErrorIllegalArgument;
  return AXUIElementSetMessagingTimeout(axElement(element), seconds);
}

AXResult MacPlatform::copyAttributeValue(const Element& element, const std::string& attribute) {
  const auto name = toCFString(attribute);
  if (!axElement(element) || !name) return {kAXErrorIllegalArgument, {}};
  CFTypeRef out = nullptr;
  const AXError error = AXUIElementCopyAttributeValue(axElement(element), name.get(), &out);
  // Whatever the request left behind is ours to release, also when it failed.
  const auto owned = CFHandle<CFTypeRef>::adopt(out);
  if (error != kAXErrorSuccess) return {error, {}};
  return {error, toValue(owned.get())};
}

AXResult MacPlatform::copyParameterizedAttributeValue(const Element& element,
                                                      const std::string& attribute,
                                                      const Value& parameter) {
  const auto name = toCFString(attribute);
  const auto platformParameter = toCFObject(parameter);
  if (!axElement(element) || !name || !platformParameter) return {kAXErrorIllegalArgument, {}};
  CFTypeRef out = nullptr;
  const AXError error = AXUIElementCopyParameterizedAttributeValue(axElement(element), name.get(),
                                                                   platformParameter.get(), &out);
  const auto owned = CFHandle<CFTypeRef>::adopt(out);
  if (error != kAXErrorSuccess) return {error, {}};
  return {error, toValue(owned.get())};
}

AXError MacPlatform::setAttributeValue(const Element& element, const std::string& attribute,
                                       const Value& value) {
  const auto name = toCFString(attribute);
  const auto platformValue = toCFObject(value);
  if (!axElement(element) || !name || !platformValue) return kAXErrorIllegalArgument;
  return AXUIElementSetAttributeValue(axElement(element), name.get(), platformValue.get());
}

AXError MacPlatform::performAction(const Element& element, const std::string& action) {
  const auto name = toCFString(action);
  if (!axElement(element) || !name) return kAXErrorIllegalArgument;
  return AXUIElementPerformAction(axElement(element), name.get());
}

std::optional<Pid> MacPlatform::pidOfElement(const Element& element) {
  pid_t pid = 0;
  if (!axElement(element) || AXUIElementGetPid(axElement(element), &pid) != kAXErrorSuccess) {
    return std::nullopt;
  }
  return static_cast<Pid>(pid);
}

}  // namespace textport::mac
