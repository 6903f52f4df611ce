// The X11 CLIPBOARD selection as the pasteboard: read through textport's own connection
// (x11_clipboard_reader), written by serving it from an owner child (x11_clipboard_owner).
//
// Handing the content to a clipboard manager (SAVE_TARGETS) when textport exits is not done:
// the owner child already keeps it served after textport exits, on every desktop, with or
// without a manager.
#include "platform/linux/x11_clipboard.h"

#include <sys/wait.h>

#include <algorithm>
#include <utility>

#include "platform/linux/x11_clipboard_owner.h"
#include "platform/linux/x11_clipboard_reader.h"
#include "platform/linux/x11_clipboard_types.h"
#include "platform/linux/x11_clipboard_wait.h"

namespace textport::x11 {

namespace {

// The most one read of the selection may take, all its answers together.
constexpr double kReadTimeout = 2.0;

class SelectionClipboard final : public X11Clipboard {
 public:
  explicit SelectionClipboard(std::unique_ptr<SelectionReader> reader)
      : reader_(std::move(reader)) {}

  // The owner child serves on: closing its line does not stop it.
  ~SelectionClipboard() override { reapChildren(); }

  std::vector<PasteboardItemReading> items() override {
    reapChildren();
    if (reader_->owner() == 0) return {};
    const double deadline = monotonicNow() + kReadTimeout;
    const std::optional<std::vector<std::string>> targets = reader_->targets(deadline);
    if (!targets) return {};
    PasteboardItemReading item;
    // Once an answer is late the owner is taken as stuck: the targets after it are listed
    // without data rather than each waited for in turn.
    bool stuck = false;
    for (const std::string& target : *targets) {
      if (!isDataTarget(target)) continue;
      SelectionReply reply;
      if (!stuck) reply = reader_->convert(target, deadline);
      stuck = stuck || reply.outcome == SelectionReply::Outcome::timedOut;
      PasteboardRepresentation& representation = item.emplace_back();
      if (reply.outcome == SelectionReply::Outcome::answered) {
        representation.type = typeForTarget(target, reply.type, reply.format);
        representation.data = std::move(reply.data);
      } else {
        representation.type = typeForTarget(target, target, 8);
      }
    }
    if (item.empty()) return {};
    return {std::move(item)};
  }

  std::int64_t changeCount() override {
    reapChildren();
    return reader_->ownerChanges() + clearsKeepingOwner_;
  }

  std::int64_t clear() override {
    reapChildren();
    // Our owner child takes the selection afresh with no content: no new process needed.
    if (owns() && owner_->clearContent() && owner_->sync() && owns()) {
      served_.clear();
      plainTextAliases_ = false;
      return changeCount();
    }
    if (!takeSelection()) {
      // No new owner: the count rises all the same, and our own owner, if it still owns the
      // selection, drops what it serves.
      ++clearsKeepingOwner_;
      if (owns() && owner_->clearContent() && owner_->sync()) served_.clear();
    }
    return changeCount();
  }

  bool setData(const std::string& type, const Bytes& data) override {
    reapChildren();
    if (!owns() && !takeSelection()) return false;
    if (isPlainText(type) && (served_.empty() || plainTextAliases_)) {
      // Staged text goes out under every text target that applications ask for.
      const std::vector<std::pair<SelectionTarget, Bytes>> targets = plainTextTargets(data);
      for (const std::string& old : std::vector<std::string>(served_)) {
        const bool kept = std::any_of(targets.begin(), targets.end(),
                                      [&](const auto& t) { return t.first.name == old; });
        if (kept || !isTextAlias(old)) continue;
        if (!owner_->remove(old)) return false;
        std::erase(served_, old);
      }
      for (const auto& [target, bytes] : targets) {
        if (!put(target, bytes)) return false;
      }
      plainTextAliases_ = true;
      return owner_->sync();
    }
    return put(targetForType(type), data) && owner_->sync();
  }

  std::optional<Bytes> data(const std::string& type) override {
    reapChildren();
    SelectionReply reply =
        reader_->convert(targetForType(type).name, monotonicNow() + kReadTimeout);
    if (reply.outcome != SelectionReply::Outcome::answered) return std::nullopt;
    return std::move(reply.data);
  }

  bool writeItems(const std::vector<PasteboardItem>& items) override {
    reapChildren();
    // A write that would fail part of the way fails before anything is served.
    for (const PasteboardItem& item : items) {
      for (const auto& [type, bytes] : item) {
        if (!whole(targetForType(type), bytes)) return false;
      }
    }
    if (!owns() && !takeSelection()) return false;
    // One item on X11: a type already served keeps its first data.
    for (const PasteboardItem& item : items) {
      for (const auto& [type, bytes] : item) {
        const SelectionTarget target = targetForType(type);
        if (std::find(served_.begin(), served_.end(), target.name) != served_.end()) continue;
        if (!owner_->add(target, bytes)) return false;
        served_.push_back(target.name);
      }
    }
    return owner_->sync();
  }

  bool watchServed() override {
    reapChildren();
    if (!owns()) return false;
    // A new child counts from 0; what earlier children counted stays in the total.
    if (watched_ != owner_.get()) readsBase_ = reads_;
    watched_ = owner_.get();
    return owner_->watch() && owner_->sync();
  }

  std::uint64_t watchedReads() override {
    if (owner_ && watched_ == owner_.get() && !owner_->failed()) {
      if (const std::optional<std::uint64_t> count = owner_->watchedReads()) {
        reads_ = readsBase_ + *count;
      }
    }
    return reads_;
  }

 private:
  static bool isTextAlias(const std::string& name) {
    return name == "STRING" || name == "TEXT" || name == "text/plain" ||
           name == "text/plain;charset=utf-8";
  }

  // Data of format 16 or 32 comes in whole units.
  static bool whole(const SelectionTarget& target, const Bytes& data) {
    return data.size() % static_cast<std::size_t>(target.format / 8) == 0;
  }

  bool put(const SelectionTarget& target, const Bytes& data) {
    if (!whole(target, data) || !owner_->put(target, data)) return false;
    if (std::find(served_.begin(), served_.end(), target.name) == served_.end()) {
      served_.push_back(target.name);
    }
    return true;
  }

  // Whether our current owner child still owns the selection and takes changes.
  bool owns() { return owner_ && !owner_->failed() && reader_->owner() == owner_->window(); }

  // Starts a new owner child with no content; once it owns the selection, the one before it
  // has lost it and leaves by itself (after any INCR transfer it is still serving).
  bool takeSelection() {
    std::unique_ptr<ClipboardOwner> next = ClipboardOwner::start();
    if (!next) return false;
    children_.push_back(next->pid());
    if (watched_ == owner_.get()) {
      watchedReads();  // the last word of the child that goes
      watched_ = nullptr;
    }
    owner_ = std::move(next);
    served_.clear();
    plainTextAliases_ = false;
    return true;
  }

  // Collects the children that have left, and only ours: other parts of the process may have
  // children of their own.
  void reapChildren() {
    std::erase_if(children_, [](pid_t pid) { return waitpid(pid, nullptr, WNOHANG) != 0; });
  }

  std::unique_ptr<SelectionReader> reader_;
  std::unique_ptr<ClipboardOwner> owner_;
  std::vector<pid_t> children_;      // started and not yet reaped
  std::vector<std::string> served_;  // the targets owner_ serves, in order
  bool plainTextAliases_ = false;    // served_ holds staged text under its text targets
  std::int64_t clearsKeepingOwner_ = 0;
  const ClipboardOwner* watched_ = nullptr;  // the owner child whose requests are counted
  std::uint64_t readsBase_ = 0;              // counted by earlier children
  std::uint64_t reads_ = 0;
};

}  // namespace

std::unique_ptr<X11Clipboard> X11Clipboard::connect() {
  std::unique_ptr<SelectionReader> reader = SelectionReader::open();
  if (!reader) return nullptr;
  return std::make_unique<SelectionClipboard>(std::move(reader));
}

}  // namespace textport::x11
