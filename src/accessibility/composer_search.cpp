#include "accessibility/composer_search.h"

#include <array>
#include <string>
#include <vector>

#include "accessibility/element_helpers.h"
#include "accessibility/tree_walk.h"

namespace textport {

namespace {
constexpr std::array<const char*, 3> kEditableRoles = {"AXTextArea", "AXTextField", "AXComboBox"};
constexpr const char* kSecureSubrole = "AXSecureTextField";
constexpr const char* kComposerRole = "AXTextArea";

constexpr std::size_t kComposerSearchLimit = 500;
constexpr double kComposerSearchBudget = 0.7;
constexpr float kComposerElementTimeout = 0.08f;
constexpr double kLowerHalf = 0.5;
constexpr double kMinimumWidthShare = 0.25;

bool intersects(const Rect& a, const Rect& b) {
  // Rectangles that only share an edge do not intersect, as with CGRectIntersectsRect.
  return a.origin.x < b.origin.x + b.size.width && b.origin.x < a.origin.x + a.size.width &&
         a.origin.y < b.origin.y + b.size.height && b.origin.y < a.origin.y + a.size.height;
}

// In the lower half of the window (y grows downward) and wider than a quarter of it.
bool composerGeometry(const Rect& candidate, const Rect& window) {
  if (!intersects(candidate, window)) return false;
  double midY = candidate.origin.y + candidate.size.height / 2;
  if (!(midY > window.origin.y + kLowerHalf * window.size.height)) return false;
  return candidate.size.width > kMinimumWidthShare * window.size.width;
}
}  // namespace

bool isEditable(Platform& platform, const Element& element) {
  std::string role = stringAttribute(platform, element, "AXRole").value_or("");
  std::string subrole = stringAttribute(platform, element, "AXSubrole").value_or("");
  bool editableRole = false;
  for (const char* candidate : kEditableRoles) editableRole = editableRole || role == candidate;
  if (!editableRole || subrole == kSecureSubrole) return false;
  // Only an element that says it is disabled is refused.
  Value enabled = attribute(platform, element, "AXEnabled");
  if (const auto* b = enabled.as<bool>()) return *b;
  return true;
}

std::optional<Element> findComposer(Platform& platform, const Element& window) {
  auto windowRect = elementRect(platform, window);
  if (!windowRect) return std::nullopt;

  std::vector<Element> candidates;
  // Children are read for candidates too, so a text area inside another is seen.
  const bool complete = walkBreadthFirst(
      platform, window, kComposerSearchLimit, kComposerSearchBudget, kComposerElementTimeout,
      [&](const Element& element) {
        if (stringAttribute(platform, element, "AXRole").value_or("") == kComposerRole &&
            isEditable(platform, element)) {
          auto rect = elementRect(platform, element);
          if (rect && composerGeometry(*rect, *windowRect)) candidates.push_back(element);
        }
        return false;
      });
  // A walk that did not finish cannot be sure there is only one composer.
  if (!complete || candidates.size() != 1) return std::nullopt;
  return candidates.front();
}

}  // namespace textport
