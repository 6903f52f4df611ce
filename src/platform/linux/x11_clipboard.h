// The X11 CLIPBOARD selection as the general pasteboard. X keeps no clipboard data: whoever owns
// the selection serves it. textport's content is served by a small child process that owns the
// selection until another owner takes over, so the content outlives textport and stays served
// while textport waits or blocks on its input (x11_clipboard_owner.h).
//
// Type names: a target is named by its pasteboard type where there is one (UTF8_STRING is
// "public.utf8-plain-text"), else by its atom name; a reply whose type is not the target's own
// name says so after it ("TEXT;x11-type=COMPOUND_TEXT"), so that what items() reads,
// writeItems() serves again target for target, with the same reply types and bytes. The whole
// convention is in x11_clipboard_types.h.
//
// Plain text set on an empty content (staging) is served under every text target applications
// ask for: UTF8_STRING, text/plain;charset=utf-8, STRING (Latin-1, when the text fits it), TEXT
// and text/plain. Reads wait at most 0.25 s for each answer and 2 s in all, so a stopped owner
// costs a quarter of a second, never a hang.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace textport::x11 {

class X11Clipboard {
 public:
  // Connects to the display named by DISPLAY; nothing when there is none. Its display
  // connection ignores protocol errors and ends the process quietly when the server goes
  // (x11_errors.h). The process must be single-threaded whenever the pasteboard is cleared or
  // written: those start the owner child with fork().
  static std::unique_ptr<X11Clipboard> connect();
  virtual ~X11Clipboard() = default;

  // The selection's content as one item: every data target the owner lists, with its bytes
  // when it gives them in time; empty when nobody owns the selection or it lists no data.
  virtual std::vector<PasteboardItemReading> items() = 0;
  // Selection-owner changes seen so far (ours included, and owners that went away), plus clears
  // that kept the owner.
  virtual std::int64_t changeCount() = 0;
  // Takes the selection with no content; returns the new change count.
  virtual std::int64_t clear() = 0;
  // Adds or replaces one type on the content textport serves, taking the selection when needed.
  virtual bool setData(const std::string& type, const Bytes& data) = 0;
  // The data the current owner gives for a type, or nothing.
  virtual std::optional<Bytes> data(const std::string& type) = 0;
  // Serves these items (X11 has one item: the first item's types, then types of later items
  // that the first does not list).
  virtual bool writeItems(const std::vector<PasteboardItem>& items) = 0;
  // Counts, from now until the next clear, the requests for the targets served now (the staged
  // text under each of its names).
  virtual bool watchServed() = 0;
  // Requests counted by watchServed so far, over all watches; it never goes down.
  virtual std::uint64_t watchedReads() = 0;
};

// The target that KDE's Klipper and the managers that follow it read before keeping an entry:
// content that carries it with the value "secret" stays out of their history.
inline constexpr const char* kPasswordManagerHint = "x-kde-passwordManagerHint";

}  // namespace textport::x11
