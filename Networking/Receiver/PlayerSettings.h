#pragma once

#include <string>

struct PlayerSettings {
    std::string mInputFileName;
    std::string mDrmOutputAddress;
    int mDrmOutputPort;  // 1025 to 65535
};

// Reads the section "Settings" of "VESTRAL Tessavox.ini" in the current directory.  False when a setting is missing or
// not acceptable: the first such problem has been reported on the console and a key awaited.
bool ReadPlayerSettings(PlayerSettings* apSettings);
