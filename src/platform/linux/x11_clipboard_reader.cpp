#include "platform/linux/x11_clipboard_reader.h"

#include <X11/Xatom.h>
#include <X11/extensions/Xfixes.h>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "platform/linux/x11_clipboard_wait.h"
#include "platform/linux/x11_errors.h"

namespace textport::x11 {

namespace {

// How long one answer may take: an owner's reply to a request, or the next chunk of an INCR
// transfer. A responsive owner answers in well under 10 ms.
constexpr double kAnswerTimeout = 0.25;
// The properties that replies arrive in, used in turn: an answer that comes after its request
// was given up names another property than the request being waited for now.
constexpr int kReplyProperties = 4;
// What one XGetWindowProperty call asks for, in 32-bit units (4 MiB).
constexpr long kPropertyReadLength = 1 << 20;

// Property data as Xlib returns it (format-32 items in longs, format-16 in shorts), as bytes
// with 32- and 16-bit units in this machine's byte order.
void appendUnits(Bytes& into, const unsigned char* data, unsigned long count, int format) {
  if (format == 32) {
    const auto* units = reinterpret_cast<const long*>(data);
    for (unsigned long i = 0; i < count; ++i) {
      const auto unit = static_cast<std::uint32_t>(units[i]);
      const auto* bytes = reinterpret_cast<const std::uint8_t*>(&unit);
      into.insert(into.end(), bytes, bytes + sizeof unit);
    }
  } else if (format == 16) {
    const auto* units = reinterpret_cast<const short*>(data);
    for (unsigned long i = 0; i < count; ++i) {
      const auto unit = static_cast<std::uint16_t>(units[i]);
      const auto* bytes = reinterpret_cast<const std::uint8_t*>(&unit);
      into.insert(into.end(), bytes, bytes + sizeof unit);
    }
  } else {
    into.insert(into.end(), data, data + count);
  }
}

}  // namespace

std::unique_ptr<SelectionReader> SelectionReader::open() {
  Display* display = openQuietDisplay();
  if (!display) return nullptr;
  std::unique_ptr<SelectionReader> reader(new SelectionReader);
  reader->display_ = display;
  int errorBase = 0;
  if (!XFixesQueryExtension(display, &reader->fixesEventBase_, &errorBase)) return nullptr;

  XSetWindowAttributes attributes{};
  attributes.event_mask = PropertyChangeMask;
  reader->window_ =
      XCreateWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, CopyFromParent, InputOnly,
                    CopyFromParent, CWEventMask, &attributes);
  const char* names[] = {"CLIPBOARD",
                         "TARGETS",
                         "_TEXTPORT_SELECTION_0",
                         "_TEXTPORT_SELECTION_1",
                         "_TEXTPORT_SELECTION_2",
                         "_TEXTPORT_SELECTION_3"};
  Atom atoms[std::size(names)];
  XInternAtoms(display, const_cast<char**>(names), static_cast<int>(std::size(names)), False,
               atoms);
  reader->clipboard_ = atoms[0];
  reader->targets_ = atoms[1];
  reader->properties_.assign(atoms + 2, atoms + 2 + kReplyProperties);
  XFixesSelectSelectionInput(display, reader->window_, reader->clipboard_,
                             XFixesSetSelectionOwnerNotifyMask |
                                 XFixesSelectionWindowDestroyNotifyMask |
                                 XFixesSelectionClientCloseNotifyMask);
  return reader;
}

SelectionReader::~SelectionReader() {
  if (window_ != None) XDestroyWindow(display_, window_);
  XCloseDisplay(display_);
}

std::int64_t SelectionReader::ownerChanges() {
  XSync(display_, False);
  XEvent event;
  const auto nothing = [](const XEvent&) { return false; };
  nextEvent(event, nothing, 0);  // counts what the round trip brought in
  return ownerChanges_;
}

std::uint32_t SelectionReader::owner() {
  return static_cast<std::uint32_t>(XGetSelectionOwner(display_, clipboard_));
}

// Takes events in order until one matches or the deadline passes; owner changes are counted on
// the way and anything else (answers given up on) is dropped.
template <class Match>
bool SelectionReader::nextEvent(XEvent& event, Match match, double deadline) {
  for (;;) {
    while (XPending(display_) > 0) {
      XNextEvent(display_, &event);
      if (event.type == fixesEventBase_ + XFixesSelectionNotify) {
        ++ownerChanges_;
      } else if (match(event)) {
        return true;
      }
    }
    if (waitFor(ConnectionNumber(display_), POLLIN, deadline) == 0) return false;
  }
}

bool SelectionReader::readProperty(Atom property, SelectionReply& into) {
  long offset = 0;
  for (;;) {
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long after = 0;
    unsigned char* data = nullptr;
    // Deleting as it reads: the property goes once its last part is read, which is also how
    // an INCR owner is asked for its next chunk.
    if (XGetWindowProperty(display_, window_, property, offset, kPropertyReadLength, True,
                           AnyPropertyType, &type, &format, &count, &after, &data) != Success) {
      return false;
    }
    if (type == None) {
      if (data) XFree(data);
      return false;
    }
    into.type = atomName(type);
    into.format = format;
    appendUnits(into.data, data, count, format);
    XFree(data);
    if (after == 0) return true;
    offset += kPropertyReadLength;
  }
}

SelectionReply SelectionReader::convert(const std::string& target, double deadline) {
  const Atom atom = existingAtom(target);
  // A name the server has never interned cannot be a target anybody offers.
  if (atom == None) return {};
  return convert(atom, deadline);
}

SelectionReply SelectionReader::convert(Atom target, double deadline) {
  SelectionReply timedOut;
  timedOut.outcome = SelectionReply::Outcome::timedOut;
  const Atom property = properties_[nextProperty_];
  nextProperty_ = (nextProperty_ + 1) % properties_.size();
  XDeleteProperty(display_, window_, property);
  XConvertSelection(display_, clipboard_, target, property, window_, CurrentTime);

  const auto answerDeadline = [&] { return std::min(deadline, monotonicNow() + kAnswerTimeout); };
  XEvent event;
  const bool notified = nextEvent(
      event,
      [&](const XEvent& e) {
        return e.type == SelectionNotify && e.xselection.requestor == window_ &&
               e.xselection.selection == clipboard_ && e.xselection.target == target &&
               (e.xselection.property == property || e.xselection.property == None);
      },
      answerDeadline());
  if (!notified) return timedOut;
  if (event.xselection.property == None) return {};
  SelectionReply reply;
  reply.outcome = SelectionReply::Outcome::answered;
  if (!readProperty(property, reply)) return {};
  if (reply.type != "INCR") return reply;

  // INCR: the owner writes a chunk each time the property is deleted, and an empty chunk last.
  if (reply.data.size() == 4) {
    std::uint32_t size = 0;
    std::memcpy(&size, reply.data.data(), sizeof size);
    reply.data.reserve(std::min<std::uint32_t>(size, 64u << 20));  // a lower bound, not a promise
  }
  reply.data.clear();
  for (;;) {
    const bool chunkArrived = nextEvent(
        event,
        [&](const XEvent& e) {
          return e.type == PropertyNotify && e.xproperty.window == window_ &&
                 e.xproperty.atom == property && e.xproperty.state == PropertyNewValue;
        },
        answerDeadline());
    if (!chunkArrived) return timedOut;
    const std::size_t before = reply.data.size();
    if (readProperty(property, reply) && reply.data.size() == before) return reply;
  }
}

std::optional<std::vector<std::string>> SelectionReader::targets(double deadline) {
  const SelectionReply reply = convert(targets_, deadline);
  if (reply.outcome != SelectionReply::Outcome::answered || reply.format != 32) {
    return std::nullopt;
  }
  std::vector<Atom> atoms;
  for (std::size_t at = 0; at + 4 <= reply.data.size(); at += 4) {
    std::uint32_t atom = 0;
    std::memcpy(&atom, reply.data.data() + at, sizeof atom);
    if (atom != None && std::find(atoms.begin(), atoms.end(), atom) == atoms.end()) {
      atoms.push_back(atom);
    }
  }
  // The names the cache lacks, in one request.
  std::vector<Atom> unknown;
  for (Atom atom : atoms) {
    if (!names_.contains(atom)) unknown.push_back(atom);
  }
  if (!unknown.empty()) {
    // An atom the server does not know (a careless owner) leaves its name empty and fails the
    // call, but the others' names are there all the same.
    std::vector<char*> names(unknown.size(), nullptr);
    XGetAtomNames(display_, unknown.data(), static_cast<int>(unknown.size()), names.data());
    for (std::size_t i = 0; i < unknown.size(); ++i) {
      if (!names[i]) continue;
      names_.emplace(unknown[i], names[i]);
      atoms_.emplace(names[i], unknown[i]);
      XFree(names[i]);
    }
  }
  std::vector<std::string> listed;
  for (Atom atom : atoms) {
    const auto name = names_.find(atom);
    if (name != names_.end()) listed.push_back(name->second);
  }
  return listed;
}

const std::string& SelectionReader::atomName(Atom atom) {
  auto known = names_.find(atom);
  if (known != names_.end()) return known->second;
  char* name = XGetAtomName(display_, atom);
  known = names_.emplace(atom, name ? name : "").first;
  if (name) {
    atoms_.emplace(name, atom);
    XFree(name);
  }
  return known->second;
}

Atom SelectionReader::existingAtom(const std::string& name) {
  const auto known = atoms_.find(name);
  if (known != atoms_.end()) return known->second;
  const Atom atom = XInternAtom(display_, name.c_str(), True);
  // Unknown names are asked again next time: someone may intern them meanwhile.
  if (atom != None) {
    atoms_.emplace(name, atom);
    names_.emplace(atom, name);
  }
  return atom;
}

}  // namespace textport::x11
