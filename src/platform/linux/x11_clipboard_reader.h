// textport's own connection to the display for the clipboard: it counts the CLIPBOARD
// selection's owner changes (XFixes) and reads the selection as a requestor, INCR included.
// Every wait is a poll() on the connection, bounded per answer and per call, so an owner that
// is frozen or gone costs a fraction of a second, never a hang.
#pragma once

#include <X11/Xlib.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/platform.h"

namespace textport::x11 {

// One answer to a conversion request.
struct SelectionReply {
  enum class Outcome {
    answered,  // type, format and data hold the owner's reply
    refused,   // the owner (or the server, when nobody owns the selection) said no
    timedOut,  // no answer, or an INCR transfer stopped, before its deadline
  };
  Outcome outcome = Outcome::refused;
  std::string type;
  int format = 8;
  Bytes data;  // 16- and 32-bit units in this machine's byte order
};

class SelectionReader {
 public:
  // Opens the display named by DISPLAY (quietly, see x11_errors.h); nothing when there is none
  // or it lacks XFixes.
  static std::unique_ptr<SelectionReader> open();
  ~SelectionReader();
  SelectionReader(const SelectionReader&) = delete;
  SelectionReader& operator=(const SelectionReader&) = delete;

  // Owner changes of CLIPBOARD seen so far (new owners, and owners whose window or client
  // went away), read after a round trip so that every change the server made before this call
  // is counted.
  std::int64_t ownerChanges();
  // The window that owns CLIPBOARD, or 0.
  std::uint32_t owner();

  // The targets the owner lists, by name, in its order, each once; nothing when it gives no list.
  std::optional<std::vector<std::string>> targets(double deadline);
  // The owner's reply for one target, waiting at most a fraction of a second for each answer
  // and never past the deadline.
  SelectionReply convert(const std::string& target, double deadline);

 private:
  SelectionReader() = default;
  SelectionReply convert(Atom target, double deadline);
  template <class Match>
  bool nextEvent(XEvent& event, Match match, double deadline);
  // Appends the property's data to the reply and takes its type and format; false when the
  // property does not exist.
  bool readProperty(Atom property, SelectionReply& into);
  const std::string& atomName(Atom atom);
  // The atom of a name, or None when the server has never heard of it.
  Atom existingAtom(const std::string& name);

  Display* display_ = nullptr;
  Window window_ = None;
  Atom clipboard_ = None;
  Atom targets_ = None;
  std::vector<Atom> properties_;  // used in turn, see convert()
  std::size_t nextProperty_ = 0;
  int fixesEventBase_ = 0;
  std::int64_t ownerChanges_ = 0;
  // Atoms never change meaning on a server, so their names are asked once.
  std::unordered_map<Atom, std::string> names_;
  std::unordered_map<std::string, Atom> atoms_;
};

}  // namespace textport::x11
