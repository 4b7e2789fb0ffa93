#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/DrmModes.h"
#include "tools/RecordingWriter.h"

struct MdiMakeOptions {
    uint32_t mFrames = 300;
    DrmMode mMode;
    std::vector<uint32_t> mStreams;  // bytes per frame; empty: chosen for the channel
    unsigned mFirstIdentity = 0;
    RecordingWriter::Format mFormat;
    bool mHelp = false;
    std::string mOutput;
};

// Reads the arguments of the program, without its name; the last of repeated options counts.  False, with a message of
// one line in *apError, for what is not an option, a value or a channel.
// With mHelp set, output and channel were not checked.
bool ParseOptions(const std::vector<std::string>& aArguments, MdiMakeOptions* apOptions, std::string* apError);

// What --help shows.
std::string OptionsHelp();
