// Copying the selection through the application's own Copy menu item, with the user's
// pasteboard saved before and put back after.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/platform.h"

namespace textport {

// Content larger than this is never saved, so the copy is not attempted.
inline constexpr std::size_t kMaxSavedPasteboardBytes = 10485760;

// The first enabled Command-C menu item in breadth-first order (240 elements, 0.5 s).
std::optional<Element> copyMenu(Platform& platform, const Element& application);

// Presses Copy in the frontmost application with this pid and returns the plain text it put on
// the pasteboard; the user's content is restored unless someone else wrote after the copy.
std::optional<std::string> copySelection(Platform& platform, const Element& application, Pid pid,
                                         std::optional<std::int64_t> selectionLength);

}  // namespace textport
