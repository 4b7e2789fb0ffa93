#pragma once

#include <cstdint>
#include <vector>

#include "tools/CommandLine.h"
#include "tools/DrmModes.h"
#include "tools/RecordingWriter.h"

struct MdiMakeOptions {
    uint32_t mFrames = 300;
    DrmMode mMode;
    std::vector<uint32_t> mStreams;  // bytes per frame; empty: chosen for the channel
    unsigned mFirstIdentity = 0;
    RecordingWriter::Format mFormat;
};

// Reads the options into *apOptions, which must outlive it; its operand is the output file.
CommandLine MdiMakeCommandLine(MdiMakeOptions* apOptions);
