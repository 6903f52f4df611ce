#include "accessibility/selected_text.h"

#include "accessibility/element_helpers.h"

namespace textport {

std::optional<std::string> selectedText(Platform& platform, const Element& element) {
  if (auto text = stringAttribute(platform, element, "AXSelectedText"); text && !text->empty()) {
    return text;
  }
  // Web views and some editors only report their selection as a text-marker range.
  Value markers = attribute(platform, element, "AXSelectedTextMarkerRange");
  if (markers.isNothing()) return std::nullopt;
  AXResult attributed = platform.copyParameterizedAttributeValue(
      element, "AXAttributedStringForTextMarkerRange", markers);
  if (!attributed.ok()) return std::nullopt;
  const auto* string = attributed.value.as<AttributedString>();
  if (string == nullptr || string->text.empty()) return std::nullopt;
  return string->text;
}

}  // namespace textport
