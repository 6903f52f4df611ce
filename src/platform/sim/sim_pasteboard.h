// The simulated general pasteboard: ordered items of (type, data) and a change count that
// rises when the pasteboard changes hands, as the platform's does: each clear, by anyone, raises
// it; the writes that follow a clear do not.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace textport::sim {

// A representation whose data is nothing is a promise that gives no data when read.
using SimItem = PasteboardItemReading;

class SimPasteboard {
 public:
  const std::vector<SimItem>& items() const { return items_; }
  std::int64_t changeCount() const { return changeCount_; }
  // Replaces the content without counting a change (world loading only).
  void load(std::vector<SimItem> items, std::int64_t changeCount);

  // Empties the pasteboard and takes it over: the one operation that raises the change count.
  std::int64_t clear();
  // Writes a type on the first item (replacing that type's data), creating the item if needed.
  void setData(const std::string& type, Bytes data);
  // Adds items after the existing ones.
  void write(std::vector<SimItem> items);

  // The data of the first item that lists the type; nothing when no item lists it or that
  // item gives no data for it.
  std::optional<Bytes> data(const std::string& type) const;
  // The same, as a read by someone: a read of watched text is counted.
  std::optional<Bytes> read(const std::string& type);
  // Sum of the byte lengths of all data.
  std::size_t size() const;

  // While refusing, writes by the process under test fail and change nothing; a clear still takes
  // the pasteboard over, as clearContents always does.
  void refuseWrites(bool refuse) { refusing_ = refuse; }
  bool refusesWrites() const { return refusing_; }

  // From now until the next clear, reads of the first item's plain text are counted.
  void watchPlainText() { watching_ = true; }
  std::uint64_t watchedReads() const { return watchedReads_; }

 private:
  std::vector<SimItem> items_;
  std::int64_t changeCount_ = 0;
  bool watching_ = false;
  bool refusing_ = false;
  std::uint64_t watchedReads_ = 0;
};

}  // namespace textport::sim
