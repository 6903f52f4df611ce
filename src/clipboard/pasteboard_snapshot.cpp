#include "clipboard/pasteboard_snapshot.h"

namespace textport {

std::size_t PasteboardSnapshot::size() const {
  std::size_t total = 0;
  for (const PasteboardItem& item : items) {
    for (const auto& [type, bytes] : item) total += bytes.size();
  }
  return total;
}

PasteboardSnapshot snapshotPasteboard(Platform& platform) {
  PasteboardSnapshot snapshot;
  std::vector<PasteboardItemReading> items = platform.pasteboardItems();
  snapshot.items.reserve(items.size());
  for (PasteboardItemReading& reading : items) {
    PasteboardItem& item = snapshot.items.emplace_back();
    item.reserve(reading.size());
    // The bytes move out of the reading: the platform's read is the only copy made.
    for (PasteboardRepresentation& representation : reading) {
      if (representation.data) {
        item.emplace_back(std::move(representation.type), std::move(*representation.data));
      }
    }
  }
  return snapshot;
}

void restore(Platform& platform, const PasteboardSnapshot& snapshot) {
  platform.clearPasteboard();
  // Items without data are written too, so the pasteboard lists as many items as before.
  if (snapshot.items.empty() || platform.writePasteboardItems(snapshot.items)) return;
  // A platform may refuse an item without types, and with it the whole write: the items that
  // carry data matter more than the count.
  std::vector<PasteboardItem> withData;
  for (const PasteboardItem& item : snapshot.items) {
    if (!item.empty()) withData.push_back(item);
  }
  if (withData.size() == snapshot.items.size()) return;
  platform.clearPasteboard();
  if (!withData.empty()) platform.writePasteboardItems(withData);
}

}  // namespace textport
