#pragma once

#include <cstddef>
#include <cstdint>

constexpr size_t RECORDING_MAX_VIEW = 4968;  // the largest packet of a recording

// The bytes of a recording by their place in it, for one pass after the other.  One thread.
class RecordingBytes {
public:
    virtual ~RecordingBytes() = default;

    // To be called before each pass.  Returns the length of the recording in bytes, which holds for the whole pass.
    virtual uint64_t BeginPass() = 0;

    // The aCount bytes (at most RECORDING_MAX_VIEW) from aOffset on.  The view lasts until the next call of either
    // operation.  Null when not all of them lie inside of the pass's length or can be read.
    virtual const unsigned char* View(uint64_t aOffset, size_t aCount) = 0;
};
