// Saving the whole general pasteboard and putting it back: every item, every type, in order.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "platform/platform.h"

namespace textport {

// The items of the pasteboard in its order; each item's (type, bytes) pairs in its type order.
// Types that gave no data are left out; an item without data stays as an empty entry.
struct PasteboardSnapshot {
  std::vector<PasteboardItem> items;
  // The sum of the byte lengths of all data of all items.
  std::size_t size() const;
  friend bool operator==(const PasteboardSnapshot&, const PasteboardSnapshot&) = default;
};

// Reads the whole general pasteboard.
PasteboardSnapshot snapshotPasteboard(Platform& platform);
// Clears the general pasteboard and writes the snapshot's items back in one write; when the
// platform refuses that write, once more without the items that hold no data.
void restore(Platform& platform, const PasteboardSnapshot& snapshot);

}  // namespace textport
