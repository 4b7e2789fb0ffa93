#pragma once

namespace platform::posix {

constexpr int NO_WAIT_LIMIT = -1;

// Waits until aHandle is readable or writable: true, or false when aMilliseconds (NO_WAIT_LIMIT for no limit) have
// passed.  A thread that is suspended meanwhile returns after its resumption only; one that is ended does not return.
bool WaitReadable(int aHandle, int aMilliseconds);
bool WaitWritable(int aHandle, int aMilliseconds);

}  // namespace platform::posix
