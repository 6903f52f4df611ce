// The process that owns the CLIPBOARD selection for textport, and the parent's line to it.
//
// X keeps no clipboard data: the owner serves every request itself. textport's content is served
// by a child process, so that it stays served while textport blocks on its input and after
// textport exits. A clear while the current child still owns the selection has it take the
// selection afresh at a new server time, with no content; otherwise (the first clear, or after
// another program took the selection) it starts a new child: forked (never exec'd) from the
// single-threaded parent, it keeps only its end of a socket pair, puts /dev/null on descriptors 0
// to 2, starts a session of its own, opens its own display connection and takes the selection with
// no content. It serves TARGETS, TIMESTAMP and each content target (INCR above a threshold kept
// below the server's request limit; no MULTIPLE), ignores protocol errors from requestors that
// vanish, and leaves through _exit only: when another owner takes the selection (once its INCR
// transfers have ended) or when its display connection dies. Closing the parent's end does not stop
// it.
//
// The line is a byte stream of frames, parent to child, in this machine's byte order:
//   header (16 bytes)  op (1), format (1), zero (2), target length (4), reply-type length (4),
//                      data length (4)
//   then the target name, the reply type name and the data.
//   ops: 'P' put (replace the target or append it), 'A' add (append unless listed),
//        'R' remove the target, 'C' clear the content and take the selection afresh, 'S' sync,
//        'W' watch the targets served now (each request for one of them is counted; a clear ends
//        the watch, the count stays), 'Q' query the count.
// Child to parent: 'O' followed by its window id (4 bytes) once XGetSelectionOwner on its own
// connection confirms that it owns the selection; 'K' for each sync, once everything before
// it is applied; 'Q' followed by the count (8 bytes) for each query.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/linux/x11_clipboard_types.h"

namespace textport::x11 {

enum class OwnerOp : std::uint8_t {
  put = 'P',
  add = 'A',
  remove = 'R',
  clear = 'C',
  sync = 'S',
  watch = 'W',
  query = 'Q',
};
inline constexpr std::size_t kFrameHeaderSize = 16;
inline constexpr std::uint8_t kOwnedReply = 'O';
inline constexpr std::uint8_t kSyncedReply = 'K';
inline constexpr std::uint8_t kCountReply = 'Q';

// The parent's handle on one owner child. Destroying it closes the line only: the child serves
// on while it owns the selection and is reaped by whoever keeps its pid.
class ClipboardOwner {
 public:
  // Forks a child that takes the selection on the display named by DISPLAY; nothing when it
  // does not own it in time (the child is then killed: it owns nothing).
  static std::unique_ptr<ClipboardOwner> start();
  ~ClipboardOwner();
  ClipboardOwner(const ClipboardOwner&) = delete;
  ClipboardOwner& operator=(const ClipboardOwner&) = delete;

  pid_t pid() const { return pid_; }
  // The window that owns the selection for this child.
  std::uint32_t window() const { return window_; }
  // Whether a change was lost on the way: the child takes no more.
  bool failed() const { return failed_; }

  // Queue changes of the served content; sync() waits until the child has applied them.
  bool put(const SelectionTarget& target, const Bytes& data) {
    return send(OwnerOp::put, target, data);
  }
  bool add(const SelectionTarget& target, const Bytes& data) {
    return send(OwnerOp::add, target, data);
  }
  bool remove(const std::string& name) { return send(OwnerOp::remove, {name, {}, 8}, {}); }
  bool clearContent() { return send(OwnerOp::clear, {}, {}); }
  bool watch() { return send(OwnerOp::watch, {}, {}); }
  bool sync();
  // How many requests for watched targets this child has answered; nothing when the line failed.
  std::optional<std::uint64_t> watchedReads();

 private:
  ClipboardOwner(pid_t pid, int line, std::uint32_t window)
      : pid_(pid), line_(line), window_(window) {}
  bool send(OwnerOp op, const SelectionTarget& target, const Bytes& data);
  bool write(const void* bytes, std::size_t size);

  pid_t pid_;
  int line_;
  std::uint32_t window_;
  bool failed_ = false;
};

// The child's whole life after fork: serves the selection on its own connection to the display
// and never returns. `line` is its end of the socket pair.
[[noreturn]] void serveClipboard(int line);

}  // namespace textport::x11
