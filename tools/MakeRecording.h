#pragma once

#include <string>
#include <vector>

#include "tools/MdiMakeOptions.h"

// Makes the recording that the options ask for, in memory.  False, with the reason in *apError, when the channel does
// not exist, the streams do not fit into the channel, or the frames do not fit into a recording.
bool MakeRecording(const MdiMakeOptions& aOptions, std::vector<unsigned char>* apRecording, std::string* apError);
