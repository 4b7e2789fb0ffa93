#pragma once

#include <cstdint>
#include <string>

#include "Networking/FileLayer.h"

// The mandatory keys.
constexpr char INPUT_FILE_NAME[] = "InputFileName";
constexpr char OUTPUT_ADDRESS[] = "DrmOutputAddress";
constexpr char OUTPUT_PORT[] = "DrmOutputPort";

struct PlayerSettings {
    std::string mInputFileName;
    std::string mDrmOutputAddress;
    int mDrmOutputPort;  // 1025 to 65535

    // Optional; without their keys they keep these values.
    bool mAbsolutePacing = false;             // "Pacing"
    bool mContinueAfterErrors = false;        // "SendErrors"
    uint32_t mProbeTries = 1;                 // 0 to 100; 0: no probe
    uint32_t mProtection = 0;                 // 0 to 7 lost fragments of a packet; 0: no parity
    std::string mInterface;                   // name or IPv4 address; empty: the system's choice
    uint32_t mTimeToLive = 0;                 // 1 to 255; 0: the system's
    uint32_t mDSCP = 0;                       // 0 to 63
    std::string mMetricsFile;                 // a path that can be written; empty: no metrics
    uint64_t mFileSizeLimit = FILE_MAX_SIZE;  // bytes
};

// Whether the settings file asks for a quiet console.  To be asked before anything is printed, because the reader may
// have stalled before the player starts.
bool WantsQuietConsole();

// Reads the section "Settings" of "VESTRAL Tessavox.ini" in the current directory.  False when a setting is missing or
// not acceptable: the first such problem has been reported on the console and a key awaited.  When an optional key is
// set, a line on the console lists all settings.
bool ReadPlayerSettings(PlayerSettings* apSettings);
