#include "Networking/RecordingStream.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/Thread.h"

RecordingStream::RecordingStream(const char* apPath, platform::FilePointer aFile, size_t aBufferSize)
    : cPath(apPath),
      cBufferSize(std::max(aBufferSize, RECORDING_MAX_VIEW)),
      cBuffer(std::make_unique<unsigned char[]>(cBufferSize)),
      cFile(std::move(aFile)) {}

// Not stoppable: a file between its opening and its owner would stay open.
uint64_t RecordingStream::BeginPass() {
    const platform::StopGuard lGuard;
    std::error_code lIgnored;
    if (std::filesystem::is_regular_file(cPath, lIgnored)) {  // the opening of a pipe would wait for its writer
        platform::FilePointer lFile(std::fopen(cPath.c_str(), "rb"));
        if (lFile != nullptr)
            cFile = std::move(lFile);
    }
    cCount = 0;
    cLength = platform::FileLength(cFile.get()).value_or(0);
    return cLength;
}

const unsigned char* RecordingStream::View(uint64_t aOffset, size_t aCount) {
    if (aOffset > cLength || aCount > cLength - aOffset || aCount > cBufferSize)
        return nullptr;
    const bool lHeld = aOffset >= cStart && aOffset - cStart <= cCount && aCount <= cCount - (aOffset - cStart);
    if (lHeld)
        return cBuffer.get() + (aOffset - cStart);
    cStart = aOffset;
    cCount = 0;
    const size_t lWanted = static_cast<size_t>(std::min<uint64_t>(cBufferSize, cLength - aOffset));
    cCount = platform::ReadFileAt(cFile.get(), aOffset, cBuffer.get(), lWanted);
    return aCount <= cCount ? cBuffer.get() : nullptr;
}
