// The editable-field test and the search for a chat window's message composer.
#pragma once

#include <optional>

#include "platform/platform.h"

namespace textport {

// A text area, text field or combo box that is no password field and not disabled.
bool isEditable(Platform& platform, const Element& element);

// The single enabled text area in the lower half of the window and wider than a quarter of it,
// found by a breadth-first walk of at most 500 elements within 0.7 s; nothing when the walk
// did not finish or found none or several.
std::optional<Element> findComposer(Platform& platform, const Element& window);

}  // namespace textport
