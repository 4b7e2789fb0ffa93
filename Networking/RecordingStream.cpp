#include "Networking/RecordingStream.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/Thread.h"

RecordingStream::RecordingStream(const char* apPath, platform::FilePointer aFile, size_t aBufferSize)
    : cPath(apPath),
      cBufferSize(std::max(aBufferSize, RECORDING_MAX_VIEW) + OVERLAP),
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
    if (aOffset > cLength || aCount > cLength - aOffset || aCount > cBufferSize - OVERLAP)
        return nullptr;
    const bool lHeld = aOffset >= cStart && aOffset - cStart <= cCount && aCount <= cCount - (aOffset - cStart);
    if (!lHeld && !Fill(aOffset))
        return nullptr;
    const size_t lPlace = static_cast<size_t>(aOffset - cStart);
    return aCount <= cCount - lPlace ? cBuffer.get() + lPlace : nullptr;
}

// Reads the bytes from aOffset on, and once more some that stand before them in the buffer.  False when these are not
// what they were: then the file was written anew, and aOffset is no place of a record in it.
bool RecordingStream::Fill(uint64_t aOffset) {
    std::array<unsigned char, OVERLAP> lBefore;
    size_t lCount = 0;
    if (aOffset > cStart && aOffset - cStart <= cCount) {
        const size_t lPlace = static_cast<size_t>(aOffset - cStart);
        lCount = std::min(lPlace, OVERLAP);
        std::memcpy(lBefore.data(), cBuffer.get() + lPlace - lCount, lCount);
    }
    cStart = aOffset - lCount;
    cCount = 0;
    const size_t lWanted = static_cast<size_t>(std::min<uint64_t>(cBufferSize, cLength - cStart));
    const size_t lRead = platform::ReadFileAt(cFile.get(), cStart, cBuffer.get(), lWanted);
    if (lRead < lCount || std::memcmp(lBefore.data(), cBuffer.get(), lCount) != 0)
        return false;
    cCount = lRead;
    return true;
}
