// The owner child's life: take the CLIPBOARD selection, apply the content the parent sends,
// answer every request for it, and leave when another owner takes over.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/x11_clipboard_owner.h"
#include "platform/linux/x11_clipboard_wait.h"
#include "platform/linux/x11_errors.h"

namespace textport::x11 {

namespace {

constexpr double kStartTimeout = 2.0;
// An INCR requestor that takes no chunk for this long is given up (it froze or went away
// without its window being destroyed).
constexpr double kTransferIdleTimeout = 5.0;
// Data above this size goes by INCR, in chunks of this size, and never above what one request
// may carry on the server.
constexpr std::size_t kIncrChunk = 256 * 1024;

struct Entry {
  Atom target;
  Atom type;
  int format;
  std::shared_ptr<const Bytes> data;  // shared with INCR transfers under way
  bool watched = false;               // requests for it are counted
};

struct Transfer {
  Window requestor;
  Atom property;
  Atom type;
  int format;
  std::shared_ptr<const Bytes> data;
  std::size_t offset = 0;
  double deadline = 0;
};

std::uint32_t readU32(const std::uint8_t* at) {
  std::uint32_t value = 0;
  std::memcpy(&value, at, sizeof value);
  return value;
}

class Server {
 public:
  Server(int line, Display* display) : line_(line), display_(display) {}

  [[noreturn]] void run() {
    takeSelection();
    for (;;) {
      while (XPending(display_) > 0) {
        XEvent event;
        XNextEvent(display_, &event);
        handle(event);
      }
      if (lost_ && transfers_.empty()) _exit(0);
      pollfd fds[2] = {{ConnectionNumber(display_), POLLIN, 0}, {line_, POLLIN, 0}};
      poll(fds, line_ >= 0 ? 2 : 1, pollTimeout());
      if (line_ >= 0 && fds[1].revents != 0) readLine();
      dropStalledTransfers();
    }
  }

 private:
  void takeSelection() {
    const char* names[] = {"CLIPBOARD", "TARGETS", "TIMESTAMP", "INCR", "_TEXTPORT_OWNER_TIME"};
    Atom atoms[std::size(names)];
    XInternAtoms(display_, const_cast<char**>(names), static_cast<int>(std::size(names)), False,
                 atoms);
    clipboard_ = atoms[0];
    targets_ = atoms[1];
    timestamp_ = atoms[2];
    incr_ = atoms[3];
    stamp_ = atoms[4];
    const std::size_t limit = static_cast<std::size_t>(XMaxRequestSize(display_)) * 4 - 1024;
    chunk_ = std::min(kIncrChunk, limit) & ~std::size_t{3};

    XSetWindowAttributes attributes{};
    attributes.event_mask = PropertyChangeMask;
    window_ = XCreateWindow(display_, DefaultRootWindow(display_), 0, 0, 1, 1, 0, CopyFromParent,
                            InputOnly, CopyFromParent, CWEventMask, &attributes);
    if (!own()) _exit(1);
    std::uint8_t reply[5] = {kOwnedReply};
    const auto window = static_cast<std::uint32_t>(window_);
    std::memcpy(reply + 1, &window, sizeof window);
    if (::send(line_, reply, sizeof reply, MSG_NOSIGNAL) != sizeof reply) _exit(1);
  }

  // Takes the selection at a fresh server time; again on every clear, so that whoever watches
  // owner changes (the parent's change count, toolkits' cached target lists) sees new content,
  // and requests timed before it are refused like those meant for an earlier owner.
  bool own() {
    // Owning with CurrentTime is refused by requestors that check times: an empty append to a
    // property of our own window gives a real server time.
    const unsigned char nothing = 0;
    XChangeProperty(display_, window_, stamp_, XA_STRING, 8, PropModeAppend, &nothing, 0);
    XFlush(display_);
    const double deadline = monotonicNow() + kStartTimeout;
    for (;;) {
      XEvent event;
      if (XCheckTypedWindowEvent(display_, window_, PropertyNotify, &event)) {
        ownedSince_ = event.xproperty.time;
        break;
      }
      if (waitFor(ConnectionNumber(display_), POLLIN, deadline) == 0) return false;
    }
    XSetSelectionOwner(display_, clipboard_, window_, ownedSince_);
    return XGetSelectionOwner(display_, clipboard_) == window_;
  }

  int pollTimeout() const {
    if (transfers_.empty()) return -1;
    double next = transfers_.front().deadline;
    for (const Transfer& transfer : transfers_) next = std::min(next, transfer.deadline);
    return millisecondsUntil(next);
  }

  void handle(const XEvent& event) {
    switch (event.type) {
      case SelectionRequest:
        answer(event.xselectionrequest);
        break;
      case SelectionClear:
        if (event.xselectionclear.selection == clipboard_) lost_ = true;
        break;
      case PropertyNotify:
        if (event.xproperty.state == PropertyDelete) {
          continueTransfer(event.xproperty.window, event.xproperty.atom);
        }
        break;
      case DestroyNotify:
        endTransfers([&](const Transfer& t) { return t.requestor == event.xdestroywindow.window; });
        break;
      default:
        break;
    }
  }

  // --- Requests ---

  void answer(const XSelectionRequestEvent& request) {
    XEvent reply{};
    reply.xselection.type = SelectionNotify;
    reply.xselection.display = display_;
    reply.xselection.requestor = request.requestor;
    reply.xselection.selection = request.selection;
    reply.xselection.target = request.target;
    reply.xselection.time = request.time;
    reply.xselection.property = None;
    // Requestors older than the property field leave it None and mean the target's name.
    const Atom property = request.property != None ? request.property : request.target;
    // A request timed before this child took the selection was meant for an earlier owner (a
    // paste that arrives late): refused, rather than answered with content it never asked for.
    const bool current =
        request.time == CurrentTime ||
        static_cast<std::int32_t>(static_cast<std::uint32_t>(request.time - ownedSince_)) >= 0;
    if (request.selection == clipboard_ && !lost_ && current &&
        serve(request.requestor, request.target, property)) {
      reply.xselection.property = property;
    }
    XSendEvent(display_, request.requestor, False, NoEventMask, &reply);
  }

  bool serve(Window requestor, Atom target, Atom property) {
    if (target == targets_) {
      std::vector<long> list = {static_cast<long>(targets_), static_cast<long>(timestamp_)};
      for (const Entry& entry : content_) list.push_back(static_cast<long>(entry.target));
      XChangeProperty(display_, requestor, property, XA_ATOM, 32, PropModeReplace,
                      reinterpret_cast<const unsigned char*>(list.data()),
                      static_cast<int>(list.size()));
      return true;
    }
    if (target == timestamp_) {
      const long time = static_cast<long>(ownedSince_);
      XChangeProperty(display_, requestor, property, XA_INTEGER, 32, PropModeReplace,
                      reinterpret_cast<const unsigned char*>(&time), 1);
      return true;
    }
    const auto entry = std::find_if(content_.begin(), content_.end(),
                                    [&](const Entry& e) { return e.target == target; });
    if (entry == content_.end()) return false;
    if (entry->watched) ++watchedReads_;
    if (entry->data->size() <= chunk_) {
      writeProperty(requestor, property, entry->type, entry->format, entry->data->data(),
                    entry->data->size());
      return true;
    }
    // The requestor deletes the INCR property to ask for the first chunk, and each chunk to
    // ask for the next; its window's destruction ends the transfer early.
    XSelectInput(display_, requestor, PropertyChangeMask | StructureNotifyMask);
    const long size = static_cast<long>(entry->data->size());
    XChangeProperty(display_, requestor, property, incr_, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(&size), 1);
    transfers_.push_back({requestor, property, entry->type, entry->format, entry->data, 0,
                          monotonicNow() + kTransferIdleTimeout});
    return true;
  }

  // Writes bytes as a property of the given format; 16- and 32-bit units travel as the
  // short and long arrays that Xlib expects for them.
  void writeProperty(Window window, Atom property, Atom type, int format, const std::uint8_t* bytes,
                     std::size_t size) {
    const int unit = format / 8;
    const int count = static_cast<int>(size / static_cast<std::size_t>(unit));
    const unsigned char nothing = 0;
    if (size == 0) {
      XChangeProperty(display_, window, property, type, format, PropModeReplace, &nothing, 0);
    } else if (format == 16) {
      std::vector<short> units(static_cast<std::size_t>(count));
      std::memcpy(units.data(), bytes, units.size() * 2);
      XChangeProperty(display_, window, property, type, 16, PropModeReplace,
                      reinterpret_cast<const unsigned char*>(units.data()), count);
    } else if (format == 32) {
      std::vector<long> units(static_cast<std::size_t>(count));
      for (std::size_t i = 0; i < units.size(); ++i) units[i] = readU32(bytes + 4 * i);
      XChangeProperty(display_, window, property, type, 32, PropModeReplace,
                      reinterpret_cast<const unsigned char*>(units.data()), count);
    } else {
      XChangeProperty(display_, window, property, type, 8, PropModeReplace, bytes, count);
    }
  }

  // --- INCR transfers ---

  void continueTransfer(Window window, Atom property) {
    const auto transfer = std::find_if(
        transfers_.begin(), transfers_.end(),
        [&](const Transfer& t) { return t.requestor == window && t.property == property; });
    if (transfer == transfers_.end()) return;
    const std::size_t left = transfer->data->size() - transfer->offset;
    const std::size_t size = std::min(left, chunk_);
    writeProperty(window, property, transfer->type, transfer->format,
                  transfer->data->data() + transfer->offset, size);
    // The zero-length chunk after the last one ends the transfer.
    if (size == 0) {
      endTransfers(
          [&](const Transfer& t) { return t.requestor == window && t.property == property; });
      return;
    }
    transfer->offset += size;
    transfer->deadline = monotonicNow() + kTransferIdleTimeout;
  }

  template <class Match>
  void endTransfers(Match match) {
    std::vector<Window> ended;
    for (const Transfer& transfer : transfers_) {
      if (match(transfer)) ended.push_back(transfer.requestor);
    }
    transfers_.erase(std::remove_if(transfers_.begin(), transfers_.end(), match), transfers_.end());
    for (Window window : ended) {
      const bool stillUsed = std::any_of(transfers_.begin(), transfers_.end(),
                                         [&](const Transfer& t) { return t.requestor == window; });
      if (!stillUsed) XSelectInput(display_, window, NoEventMask);
    }
  }

  void dropStalledTransfers() {
    const double now = monotonicNow();
    endTransfers([&](const Transfer& t) { return t.deadline <= now; });
  }

  // --- The parent's line ---

  // Reads what the line holds, frame part by frame part, each straight into where it is kept:
  // large data is received into the buffer that will serve it, never copied on the way.
  void readLine() {
    for (;;) {
      std::uint8_t* into = nullptr;
      std::size_t wanted = 0;
      std::size_t* read = nullptr;
      if (headerRead_ < kFrameHeaderSize) {
        into = header_ + headerRead_;
        wanted = kFrameHeaderSize - headerRead_;
        read = &headerRead_;
      } else if (namesRead_ < names_.size()) {
        into = reinterpret_cast<std::uint8_t*>(names_.data()) + namesRead_;
        wanted = names_.size() - namesRead_;
        read = &namesRead_;
      } else if (dataRead_ < data_->size()) {
        into = data_->data() + dataRead_;
        wanted = data_->size() - dataRead_;
        read = &dataRead_;
      } else {
        applyFrame();
        continue;
      }
      const ssize_t n = recv(line_, into, wanted, MSG_DONTWAIT);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) {
        // The parent closed its end (it exited or moved on to a new owner): serve on.
        if (n == 0 || (errno != EAGAIN && errno != EWOULDBLOCK)) {
          close(line_);
          line_ = -1;
        }
        return;
      }
      *read += static_cast<std::size_t>(n);
      if (read == &headerRead_ && headerRead_ == kFrameHeaderSize) {
        names_.assign(readU32(header_ + 4) + readU32(header_ + 8), '\0');
        namesRead_ = 0;
        data_ = std::make_shared<Bytes>(readU32(header_ + 12));
        dataRead_ = 0;
      }
    }
  }

  void applyFrame() {
    const std::size_t targetSize = readU32(header_ + 4);
    apply(static_cast<OwnerOp>(header_[0]), header_[1], names_.substr(0, targetSize),
          names_.substr(targetSize), std::move(data_));
    headerRead_ = 0;
  }

  void apply(OwnerOp op, int format, const std::string& target, const std::string& type,
             std::shared_ptr<Bytes> data) {
    if (op == OwnerOp::sync) {
      const std::uint8_t reply = kSyncedReply;
      if (line_ >= 0) ::send(line_, &reply, 1, MSG_NOSIGNAL);
      return;
    }
    if (op == OwnerOp::query) {
      std::uint8_t reply[1 + sizeof watchedReads_] = {kCountReply};
      std::memcpy(reply + 1, &watchedReads_, sizeof watchedReads_);
      if (line_ >= 0) ::send(line_, reply, sizeof reply, MSG_NOSIGNAL);
      return;
    }
    if (op == OwnerOp::watch) {
      for (Entry& entry : content_) entry.watched = true;
      return;
    }
    if (op == OwnerOp::clear) {
      content_.clear();
      if (!lost_ && !own()) lost_ = true;
      return;
    }
    const Atom atom = XInternAtom(display_, target.c_str(), False);
    const auto listed = std::find_if(content_.begin(), content_.end(),
                                     [&](const Entry& e) { return e.target == atom; });
    if (op == OwnerOp::remove) {
      if (listed != content_.end()) content_.erase(listed);
      return;
    }
    if ((format != 8 && format != 16 && format != 32) ||
        data->size() % static_cast<unsigned>(format / 8) != 0) {
      return;
    }
    if (op == OwnerOp::add && listed != content_.end()) return;
    Entry entry{atom, XInternAtom(display_, type.c_str(), False), format, std::move(data)};
    if (listed != content_.end()) {
      *listed = std::move(entry);
    } else {
      content_.push_back(std::move(entry));
    }
  }

  int line_;
  Display* display_;
  Window window_ = None;
  Atom clipboard_ = None;
  Atom targets_ = None;
  Atom timestamp_ = None;
  Atom incr_ = None;
  Atom stamp_ = None;  // a property of our own window, appended to for a server time
  Time ownedSince_ = CurrentTime;
  std::size_t chunk_ = kIncrChunk;
  bool lost_ = false;
  std::uint64_t watchedReads_ = 0;
  std::vector<Entry> content_;
  std::vector<Transfer> transfers_;
  // The frame being received from the parent.
  std::uint8_t header_[kFrameHeaderSize] = {};
  std::size_t headerRead_ = 0;
  std::string names_;  // the target's name, then the reply type's
  std::size_t namesRead_ = 0;
  std::shared_ptr<Bytes> data_ = std::make_shared<Bytes>();
  std::size_t dataRead_ = 0;
};

}  // namespace

// Protocol errors reach a clipboard owner in the normal course of things (a requestor's window
// may be destroyed while its reply is written): the quiet connection ignores them, and ends the
// child with _exit when the connection itself is lost. Nothing else ends it but _exit either:
// the parent's atexit handlers and static destructors are not the child's to run.
void serveClipboard(int line) {
  try {
    if (Display* display = openQuietDisplay()) Server(line, display).run();
  } catch (...) {
    // Out of memory while taking content: nothing to serve it with.
  }
  _exit(1);
}

}  // namespace textport::x11
