// The rules every answered request must keep, checked on the simulated desktop: used by the
// property tests and by the request fuzzer. A check returns nothing, or what was broken.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/sim/sim_desktop.h"

namespace textport::invariants {

// The pasteboard as it can be saved: a promised type that gives no data cannot come back.
inline std::vector<sim::SimItem> restorable(const std::vector<sim::SimItem>& items) {
  std::vector<sim::SimItem> out;
  out.reserve(items.size());
  for (const auto& item : items) {
    auto& kept = out.emplace_back();
    for (const auto& representation : item) {
      if (representation.data) kept.push_back(representation);
    }
  }
  return out;
}

// What the desktop looked like when a request began; check() compares the end with it.
class RequestWatch {
 public:
  // Writers whose pasteboard content the process must leave alone once it is there.
  explicit RequestWatch(const sim::SimDesktop& desktop,
                        std::set<std::string, std::less<>> foreignWriters = {"timeline"})
      : before_(restorable(desktop.pasteboardContents())),
        writes_(desktop.record().pasteboardWrites.size()),
        posted_(desktop.record().posted.size()),
        happenings_(desktop.record().happenings.size()),
        startTime_(desktop.time()),
        foreign_(std::move(foreignWriters)) {}

  // The answer bytes of one request (with their line feed) against the desktop afterwards.
  // maxSeconds bounds the virtual time the request may take.
  std::optional<std::string> check(const sim::SimDesktop& desktop, std::string_view answerBytes,
                                   std::optional<double> maxSeconds = std::nullopt) const {
    if (answerBytes.empty() || answerBytes.back() != '\n') return "answer without its line feed";
    const std::string_view line = answerBytes.substr(0, answerBytes.size() - 1);
    if (line.find('\n') != std::string_view::npos) return "answer spans several lines";
    const nlohmann::json answer = nlohmann::json::parse(line, nullptr, false);
    if (answer.is_discarded() || !answer.is_object()) return "answer is not a JSON object";
    if (answer.contains("error") && (answer.size() != 1 || !answer["error"].is_string())) {
      return "an error answer holds more than one string";
    }

    // A paste answer is the status alone, or with the read when the delivery waited for it.
    const bool pasteSent = answer.value("status", "") == "paste_sent" &&
                           (answer.size() == 1 || (answer.size() == 2 && answer.contains("read") &&
                                                   answer["read"].is_boolean()));
    std::size_t pastes = 0;
    const auto& posted = desktop.record().posted;
    for (std::size_t i = posted_; i < posted.size(); ++i)
      pastes += desktop.isPasteShortcut(posted[i]);
    if (pastes != (pasteSent ? 1u : 0u)) {
      return "Command-V posted " + std::to_string(pastes) + " times for " + std::string(line);
    }

    if (maxSeconds && desktop.time() - startTime_ > *maxSeconds + 1e-9) {
      return "request took " + std::to_string(desktop.time() - startTime_) + " s of virtual time";
    }

    if (!pasteboardKept(desktop, answer)) {
      std::string writes;
      const auto& all = desktop.record().pasteboardWrites;
      for (std::size_t i = writes_; i < all.size(); ++i) {
        writes += " " + all[i].writer + ":" + all[i].operation + "@" + std::to_string(all[i].time);
      }
      return "the user's pasteboard was lost: " + std::string(line) + "\n  writes:" + writes;
    }
    return std::nullopt;
  }

 private:
  bool pasteboardKept(const sim::SimDesktop& desktop, const nlohmann::json& answer) const {
    const auto& now = desktop.pasteboardContents();
    if (now == before_ || restorable(now) == before_) return true;
    // "copy" replaces the content with one text item on purpose; the clipboard probe's begin and
    // restore write it on purpose too.
    if (answer.size() == 1 && answer.value("status", "") == "copied") {
      return now.size() == 1 && now.front().size() == 1 &&
             now.front().front().type == kPlainTextType;
    }
    if (answer.size() == 1 && answer.contains("ok")) return true;
    const auto& writes = desktop.record().pasteboardWrites;
    for (std::size_t i = writes_; i < writes.size(); ++i) {
      const bool foreign = foreign_.count(writes[i].writer) != 0 ||
                           (writes[i].writer == "app_copy" && lateCopy(desktop, i));
      if (foreign && restorable(writes[i].itemsAfter) == restorable(now)) return true;
    }
    return false;
  }

  // Whether an application's copy landed after the process had stopped waiting for it: its
  // Copy press came in an earlier request, or the process wrote the pasteboard since the press
  // (another program's write made it take that write for the copy). Such a copy is the
  // application's own write, and nobody could undo it.
  bool lateCopy(const sim::SimDesktop& desktop, std::size_t writeIndex) const {
    const auto& record = desktop.record();
    const double landed = record.pasteboardWrites[writeIndex].time;
    std::optional<double> pressed;
    for (std::size_t i = happenings_; i < record.happenings.size(); ++i) {
      if (record.happenings[i].what == "copy_pressed" && record.happenings[i].time <= landed) {
        pressed = record.happenings[i].time;
      }
    }
    if (!pressed) return true;
    for (std::size_t i = writes_; i < writeIndex; ++i) {
      const auto& write = record.pasteboardWrites[i];
      if (write.writer == "textport" && write.time >= *pressed) return true;
    }
    return false;
  }

  std::vector<sim::SimItem> before_;
  std::size_t writes_;
  std::size_t posted_;
  std::size_t happenings_;
  double startTime_;
  std::set<std::string, std::less<>> foreign_;
};

}  // namespace textport::invariants
