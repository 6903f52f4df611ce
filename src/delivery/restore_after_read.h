// Restore after read: instead of guessing how long the receiving application needs before it
// reads the pasted text, the paste waits until the staged text has been read after the keystroke,
// lets the reader finish, and only then brings the user's clipboard back.
#pragma once

#include <cstdint>

#include "platform/platform.h"

namespace textport {

// How long an opted-in paste waits in all, from the keystroke, for a reader that never comes.
inline constexpr double kReadBound = 2.0;
// How long the reader gets to finish once its read has begun.
inline constexpr double kReadSettle = 0.03;
// How often the wait looks for a read; each look turns the run loop, so a backend that serves
// the text lazily can answer the request.
inline constexpr double kReadPoll = 0.005;

// Waits, from the keystroke, until the staged text is read more often than `readsAtKeystroke`
// (reads before the keystroke are clipboard managers, not the target), then for the settling
// time. Gives up at the bound, or as soon as someone else took the pasteboard over (its change
// count is no longer `stagedChangeCount`). True when the text was read.
bool waitForRead(Platform& platform, std::uint64_t readsAtKeystroke,
                 std::int64_t stagedChangeCount);

}  // namespace textport
