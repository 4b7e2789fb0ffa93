#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/MdiMakeOptions.h"

// Takes the records of a frame, and answers whether to go on.
using FrameSink = std::function<bool(const std::vector<unsigned char>&)>;

// Makes the recording that the options ask for and hands it to aSink frame by frame.  False when the sink ended it; and
// with the reason in *apError when the channel does not exist, the streams do not fit into the channel, or a frame
// cannot be cut into such fragments.
bool MakeRecording(const MdiMakeOptions& aOptions, const FrameSink& aSink, std::string* apError);
