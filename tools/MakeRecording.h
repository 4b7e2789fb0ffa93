#pragma once

#include <string>
#include <vector>

#include "tools/MdiMakeOptions.h"

// Makes the recording that the options ask for, in memory.  False, and the reason in *apError, when there is no such
// channel, or the streams do not fit into it or the frames into a recording.
bool MakeRecording(const MdiMakeOptions& aOptions, std::vector<unsigned char>* apRecording, std::string* apError);
