#pragma once

#include <cstdint>

// What a DRM channel (ETSI ES 201 980, robustness modes A to D) is and carries.

// The codes of the MSC mode in the FAC.
enum MscMode : uint8_t {
    MSC_64QAM = 0,
    MSC_64QAM_HIERARCHICAL_I = 1,   // the mixed mapping: hierarchical on I, standard on Q
    MSC_64QAM_HIERARCHICAL_IQ = 2,  // the symmetrical mapping
    MSC_16QAM = 3
};

struct DrmMode {
    unsigned mRobustness = 1;  // 0 is A
    unsigned mOccupancy = 3;   // the code, 0 to 5, of 4.5, 5, 9, 10, 18 or 20 kHz
    MscMode mMsc = MSC_64QAM;
    bool mSdc4Qam = false;
    bool mShortInterleaving = false;
};

// False for the bandwidths that a robustness mode does not have.  All below needs a mode that exists.
bool ModeExists(const DrmMode& aMode);

// Bytes of the data field of an SDC block.
uint32_t SdcDataSize(const DrmMode& aMode);

// In the hierarchical modes stream 0 travels alone in the strongly protected part of the signal.
bool IsHierarchical(const DrmMode& aMode);

// Protection levels count from 0, the strongest.
unsigned ProtectionLevels(const DrmMode& aMode);
constexpr unsigned HIERARCHICAL_PROTECTION_LEVELS = 4;

// Bytes that the streams may take in a frame of 400 ms with one protection for all (part A is empty): all streams
// together, or in the hierarchical modes all but stream 0.
uint32_t StreamCapacity(const DrmMode& aMode, unsigned aLevel);

// The same for stream 0 of the hierarchical modes.
uint32_t HierarchicalCapacity(const DrmMode& aMode, unsigned aLevel);
