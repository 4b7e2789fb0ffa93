#pragma once

#include <utility>
#include <vector>

#include "Networking/RecordingBytes.h"

// A whole recording in memory: what becomes of its file does not matter.
class RecordingImage : public RecordingBytes {
public:
    explicit RecordingImage(std::vector<unsigned char> aBytes) : cBytes(std::move(aBytes)) {}

    uint64_t BeginPass() override { return cBytes.size(); }

    const unsigned char* View(uint64_t aOffset, size_t aCount) override {
        const bool lInside = aOffset <= cBytes.size() && aCount <= cBytes.size() - aOffset;
        return lInside ? cBytes.data() + aOffset : nullptr;
    }

private:
    const std::vector<unsigned char> cBytes;
};
