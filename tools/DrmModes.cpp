#include "tools/DrmModes.h"

#include <initializer_list>

namespace {

// Cells by robustness mode and occupancy; 0 where the mode does not exist.
constexpr uint32_t SDC_CELLS[4][6] = {
    {167, 190, 359, 405, 754, 846}, {130, 150, 282, 322, 588, 662}, {0, 0, 0, 288, 0, 607}, {0, 0, 0, 152, 0, 332}};
constexpr uint32_t MSC_CELLS[4][6] = {{1259, 1422, 2632, 2959, 5464, 6118},
                                      {966, 1110, 2051, 2337, 4249, 4774},
                                      {0, 0, 0, 1844, 0, 3867},
                                      {0, 0, 0, 1226, 0, 2606}};

struct CodeRate {
    uint32_t mIn;
    uint32_t mOut;
};

// The code rates of one protection level, one for each bit of a component that a code protects.
using Rates = std::initializer_list<CodeRate>;

constexpr Rates SDC_4QAM = {{1, 2}};
constexpr Rates SDC_16QAM = {{1, 3}, {2, 3}};
constexpr Rates STANDARD_16QAM[] = {{{1, 3}, {2, 3}}, {{1, 2}, {3, 4}}};
constexpr Rates STANDARD_64QAM[] = {
    {{1, 4}, {1, 2}, {3, 4}}, {{1, 3}, {2, 3}, {4, 5}}, {{1, 2}, {3, 4}, {7, 8}}, {{2, 3}, {4, 5}, {8, 9}}};
constexpr Rates HIERARCHICAL_64QAM[] = {{{3, 10}, {3, 5}}, {{4, 11}, {8, 11}}, {{4, 7}, {7, 8}}, {{2, 3}, {8, 9}}};
constexpr Rates STREAM_0[HIERARCHICAL_PROTECTION_LEVELS] = {{{1, 2}}, {{4, 7}}, {{3, 5}}, {{2, 3}}};

// The bits that go into the codes when each puts out aCodedBits, of which the tail takes 12.
uint32_t BitsIn(uint32_t aCodedBits, Rates aRates) {
    uint32_t lSum = 0;
    for (const CodeRate& lRate : aRates)
        lSum += lRate.mIn * ((aCodedBits - 12) / lRate.mOut);
    return lSum;
}

uint32_t MscCells(const DrmMode& aMode) {
    return MSC_CELLS[aMode.mRobustness][aMode.mOccupancy];
}

}  // namespace

bool ModeExists(const DrmMode& aMode) {
    return MscCells(aMode) != 0;
}

uint32_t SdcDataSize(const DrmMode& aMode) {
    const uint32_t lCells = SDC_CELLS[aMode.mRobustness][aMode.mOccupancy];
    // The block carries the AFS index (4 bits) and a CRC (16 bits) beside the data.
    return (BitsIn(2 * lCells, aMode.mSdc4Qam ? SDC_4QAM : SDC_16QAM) - 20) / 8;
}

bool IsHierarchical(const DrmMode& aMode) {
    return aMode.mMsc == MSC_64QAM_HIERARCHICAL_I || aMode.mMsc == MSC_64QAM_HIERARCHICAL_IQ;
}

unsigned ProtectionLevels(const DrmMode& aMode) {
    return aMode.mMsc == MSC_16QAM ? 2 : 4;
}

uint32_t StreamCapacity(const DrmMode& aMode, unsigned aLevel) {
    const uint32_t lCells = MscCells(aMode);
    switch (aMode.mMsc) {
        case MSC_16QAM:
            return BitsIn(2 * lCells, STANDARD_16QAM[aLevel]) / 8;
        case MSC_64QAM_HIERARCHICAL_IQ:
            return BitsIn(2 * lCells, HIERARCHICAL_64QAM[aLevel]) / 8;
        case MSC_64QAM_HIERARCHICAL_I:  // each component has codes of its own
            return (BitsIn(lCells, HIERARCHICAL_64QAM[aLevel]) + BitsIn(lCells, STANDARD_64QAM[aLevel])) / 8;
        case MSC_64QAM:
            break;
    }
    return BitsIn(2 * lCells, STANDARD_64QAM[aLevel]) / 8;
}

uint32_t HierarchicalCapacity(const DrmMode& aMode, unsigned aLevel) {
    const uint32_t lComponents = aMode.mMsc == MSC_64QAM_HIERARCHICAL_IQ ? 2 : 1;
    return BitsIn(lComponents * MscCells(aMode), STREAM_0[aLevel]) / 8;
}
