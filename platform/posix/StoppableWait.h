#pragma once

namespace platform::posix {

constexpr int NO_WAIT_LIMIT = -1;

// Both wait until aHandle is readable or writable and answer true, or false when aMilliseconds have passed
// (NO_WAIT_LIMIT: never).  A thread that is suspended meanwhile returns only after it was resumed; one that is ended
// does not return.
bool WaitReadable(int aHandle, int aMilliseconds);
bool WaitWritable(int aHandle, int aMilliseconds);

}  // namespace platform::posix
