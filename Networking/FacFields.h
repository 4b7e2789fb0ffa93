#pragma once

#include "Networking/MDIUnit.h"

// The channel parameters at the beginning of the fast access channel (ETSI ES 201 980, robustness modes A to D).
struct FacFields {
    int mIdentity;            // 0 to 3: the frame's place in its super frame
    unsigned mOccupancy;      // 0 to 15: the bandwidth
    bool mShortInterleaving;  // over 400 ms; else over 2 s
    unsigned mMscMode;        // 0 to 3
    bool mSdcIs4Qam;          // else 16-QAM
};

FacFields ParseFac(const unsigned char (&aFac)[MDI_FAC_SIZE]);

// Returns the CRC-8 over all bytes of the channel but the last one, which holds it.
uint8_t ComputeFacCRC(const unsigned char* apFac);

// The names of a field's value: as a line of the player's mode report, and as part of a sentence.
struct ModeName {
    const char* mInReport;
    const char* mInSentence;
};

constexpr unsigned KNOWN_OCCUPANCIES = 6;       // values above have no meaning and get the name of the last one
constexpr unsigned KNOWN_ROBUSTNESS_MODES = 4;  // the same

ModeName OccupancyName(unsigned aOccupancy);
const char* RobustnessName(unsigned char aRobustness);  // of the value of an MDI unit's item robm; in both places
ModeName SdcName(bool aIs4Qam);
ModeName MscName(unsigned aMscMode);  // 0 to 3
ModeName InterleavingName(bool aIsShort);
