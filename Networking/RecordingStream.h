#pragma once

#include <memory>
#include <string>

#include "Networking/RecordingBytes.h"
#include "platform/File.h"

// About 100 seconds of a usual transmission: one read in that time.  A read of so many bytes is short against the four
// seconds of units that an endpoint holds in advance.
constexpr size_t RECORDING_BUFFER_SIZE = 262144;

// A recording of any length, read through a buffer of fixed size by plain reads.
//
// Each pass opens the file anew by its path, so that a file that was put in its place plays, and what was appended does
// too.  While there is no regular file of that path, the one that was played before is played again.  A file that is
// written anew in place while it plays cannot be read on.
class RecordingStream : public RecordingBytes {
public:
    // aFile is open to be read and was opened by apPath.  aBufferSize is at least RECORDING_MAX_VIEW.
    RecordingStream(const char* apPath, platform::FilePointer aFile, size_t aBufferSize = RECORDING_BUFFER_SIZE);

    uint64_t BeginPass() override;
    const unsigned char* View(uint64_t aOffset, size_t aCount) override;

private:
    static constexpr size_t OVERLAP = 64;  // bytes that are read twice: the end of a packet with its CRC is among them

    bool Fill(uint64_t aOffset);

    const std::string cPath;
    const size_t cBufferSize;
    const std::unique_ptr<unsigned char[]> cBuffer;
    platform::FilePointer cFile;
    uint64_t cLength = 0;  // of this pass
    uint64_t cStart = 0;   // place in the file of the buffer's first byte
    size_t cCount = 0;     // bytes in the buffer
};
