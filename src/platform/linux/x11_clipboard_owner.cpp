#include "platform/linux/x11_clipboard_owner.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

#include "platform/linux/x11_clipboard_wait.h"

namespace textport::x11 {

namespace {

// How long the child may take to open its connection and own the selection (a few
// milliseconds; far more only under heavy load).
constexpr double kStartTimeout = 2.0;
// How long a write to the child or its acknowledgement may make no progress.
constexpr double kLineIdleTimeout = 2.0;
// The child's end of the line, moved to the first descriptor after the standard three.
constexpr int kChildLine = 3;

// Closes every descriptor from `first` on. close_range needs Linux 5.9; older kernels are
// served by listing /proc/self/fd (collected first: closing while listing would disturb it).
void closeFrom(int first) {
  if (close_range(static_cast<unsigned>(first), std::numeric_limits<unsigned>::max(), 0) == 0) {
    return;
  }
  std::vector<int> open;
  if (DIR* dir = opendir("/proc/self/fd")) {
    while (const dirent* entry = readdir(dir)) {
      const int fd = std::atoi(entry->d_name);
      if (fd >= first && fd != dirfd(dir)) open.push_back(fd);
    }
    closedir(dir);
  }
  for (int fd : open) close(fd);
}

// Cuts the child loose from everything it inherited: only its end of the line stays open,
// the standard descriptors lead to /dev/null (nothing the child might print reaches the
// parent's output, and no reader of the parent's output waits for the child), and a session
// of its own keeps the terminal's signals away.
void detach(int line) {
  if (line != kChildLine && dup2(line, kChildLine) < 0) _exit(1);
  closeFrom(kChildLine + 1);
  const int null = open("/dev/null", O_RDWR);
  for (int fd = 0; fd < kChildLine; ++fd) {
    if (null >= 0 && null != fd) dup2(null, fd);
  }
  if (null >= kChildLine) close(null);
  setsid();
  // The parent's signal handlers act on the parent's state, which is not the child's to touch.
  for (int signal = 1; signal < NSIG; ++signal) {
    if (signal != SIGKILL && signal != SIGSTOP) std::signal(signal, SIG_DFL);
  }
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

// Reads exactly `size` bytes from a non-blocking socket before the deadline.
bool readExactly(int fd, std::uint8_t* into, std::size_t size, double deadline) {
  std::size_t got = 0;
  while (got < size) {
    const ssize_t n = recv(fd, into + got, size - got, MSG_DONTWAIT);
    if (n > 0) {
      got += static_cast<std::size_t>(n);
    } else if (n == 0) {
      return false;
    } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
      if (waitFor(fd, POLLIN, deadline) == 0) return false;
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

void putU32(std::uint8_t* at, std::uint32_t value) {
  std::memcpy(at, &value, sizeof value);
}

}  // namespace

std::unique_ptr<ClipboardOwner> ClipboardOwner::start() {
  int pair[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) return nullptr;
  const pid_t pid = fork();
  if (pid < 0) {
    close(pair[0]);
    close(pair[1]);
    return nullptr;
  }
  if (pid == 0) {
    detach(pair[1]);
    serveClipboard(kChildLine);
  }
  close(pair[1]);
  const int line = pair[0];
  std::uint8_t reply[5];
  if (readExactly(line, reply, sizeof reply, monotonicNow() + kStartTimeout) &&
      reply[0] == kOwnedReply) {
    std::uint32_t window = 0;
    std::memcpy(&window, reply + 1, sizeof window);
    return std::unique_ptr<ClipboardOwner>(new ClipboardOwner(pid, line, window));
  }
  // The child did not confirm that it owns the selection: it serves nothing worth keeping.
  close(line);
  kill(pid, SIGKILL);
  waitpid(pid, nullptr, 0);
  return nullptr;
}

ClipboardOwner::~ClipboardOwner() {
  close(line_);
}

bool ClipboardOwner::write(const void* bytes, std::size_t size) {
  const auto* at = static_cast<const std::uint8_t*>(bytes);
  double deadline = monotonicNow() + kLineIdleTimeout;
  while (size > 0) {
    // MSG_NOSIGNAL: a child that has gone makes the write fail, not the process die of SIGPIPE.
    const ssize_t n = ::send(line_, at, size, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n > 0) {
      at += n;
      size -= static_cast<std::size_t>(n);
      deadline = monotonicNow() + kLineIdleTimeout;
    } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      if (waitFor(line_, POLLOUT, deadline) == 0) return false;
    } else if (n == 0 || errno != EINTR) {
      return false;
    }
  }
  return true;
}

bool ClipboardOwner::send(OwnerOp op, const SelectionTarget& target, const Bytes& data) {
  constexpr std::size_t kLimit = std::numeric_limits<std::uint32_t>::max();
  if (failed_) return false;
  if (target.name.size() + target.replyType.size() > kLimit || data.size() > kLimit) return false;
  // The header and both names in one write; the data, however large, straight from the caller.
  std::vector<std::uint8_t> head(kFrameHeaderSize);
  head[0] = static_cast<std::uint8_t>(op);
  head[1] = static_cast<std::uint8_t>(target.format);
  putU32(head.data() + 4, static_cast<std::uint32_t>(target.name.size()));
  putU32(head.data() + 8, static_cast<std::uint32_t>(target.replyType.size()));
  putU32(head.data() + 12, static_cast<std::uint32_t>(data.size()));
  head.insert(head.end(), target.name.begin(), target.name.end());
  head.insert(head.end(), target.replyType.begin(), target.replyType.end());
  failed_ = !(write(head.data(), head.size()) && write(data.data(), data.size()));
  return !failed_;
}

bool ClipboardOwner::sync() {
  std::uint8_t reply = 0;
  failed_ =
      !(send(OwnerOp::sync, {}, {}) &&
        readExactly(line_, &reply, 1, monotonicNow() + kLineIdleTimeout) && reply == kSyncedReply);
  return !failed_;
}

std::optional<std::uint64_t> ClipboardOwner::watchedReads() {
  std::uint8_t reply[9];
  failed_ = !(send(OwnerOp::query, {}, {}) &&
              readExactly(line_, reply, sizeof reply, monotonicNow() + kLineIdleTimeout) &&
              reply[0] == kCountReply);
  if (failed_) return std::nullopt;
  std::uint64_t count = 0;
  std::memcpy(&count, reply + 1, sizeof count);
  return count;
}

}  // namespace textport::x11
