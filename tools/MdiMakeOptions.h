#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/CommandLine.h"
#include "tools/DrmModes.h"
#include "tools/RecordingWriter.h"

struct MdiMakeOptions {
    uint32_t mFrames = 300;
    DrmMode mMode;
    std::vector<uint32_t> mStreams;  // bytes per frame; empty: chosen for the channel
    uint32_t mFirstIdentity = 0;
    RecordingWriter::Format mFormat;
    std::string mOutput;  // path of the recording
};

// Lets the command line read the options into *apOptions.
void AddMdiMakeOptions(CommandLine* apLine, MdiMakeOptions* apOptions);
