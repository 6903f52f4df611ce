// Virtual time of the simulated desktop: seconds from 0, moved only by the desktop.
#pragma once

namespace textport::sim {

class SimClock {
 public:
  double now() const { return now_; }
  // Moves time forward to `time`; never backwards.
  void advanceTo(double time) {
    if (time > now_) now_ = time;
  }

 private:
  double now_ = 0;
};

}  // namespace textport::sim
