// The Linux backend's monotonic clock, and deadlines for the clipboard's waits: every wait is a
// poll() on a descriptor, bounded by a point on that clock, never a sleep.
#pragma once

#include <poll.h>
#include <time.h>

#include <cmath>

namespace textport::x11 {

inline double monotonicNow() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Milliseconds from now until the deadline, for poll(); 0 once it has passed, rounded up so a
// wait never ends just before its deadline.
inline int millisecondsUntil(double deadline) {
  const double left = deadline - monotonicNow();
  if (left <= 0) return 0;
  return static_cast<int>(std::ceil(left * 1000.0));
}

// Waits until a descriptor has one of the events or the deadline passes; the events seen.
inline short waitFor(int fd, short events, double deadline) {
  pollfd entry{fd, events, 0};
  for (;;) {
    const int ready = poll(&entry, 1, millisecondsUntil(deadline));
    if (ready > 0) return entry.revents;
    if (ready == 0) return 0;
    if (monotonicNow() >= deadline) return 0;  // interrupted by a signal, and late already
  }
}

}  // namespace textport::x11
