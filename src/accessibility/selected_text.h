// Reading the selected text through accessibility, without the pasteboard.
#pragma once

#include <optional>
#include <string>

#include "platform/platform.h"

namespace textport {

// The selection through "AXSelectedText", else through the text-marker route; never empty.
std::optional<std::string> selectedText(Platform& platform, const Element& element);

}  // namespace textport
