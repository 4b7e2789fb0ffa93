#include "Networking/FacFields.h"

#include <algorithm>

#include "Networking/CRC8.h"

FacFields ParseFac(const unsigned char (&aFac)[MDI_FAC_SIZE]) {
    return {aFac[0] >> 5 & 3, aFac[0] >> 1 & 15u, (aFac[0] & 1) != 0, aFac[1] >> 6 & 3u, (aFac[1] & 0x20) != 0};
}

uint8_t ComputeFacCRC(const unsigned char* apFac) {
    static const CRC8 sCRC(0x1D, false);  // without inversion the engine gives the complement of its register
    return sCRC.Compute(apFac, MDI_FAC_SIZE - 1);
}

ModeName OccupancyName(unsigned aOccupancy) {
    static constexpr ModeName NAMES[KNOWN_OCCUPANCIES] = {{"4.5KHz", "4.5 kHz"}, {"5KHz", "5 kHz"},
                                                          {"9KHz", "9 kHz"},     {"10KHz", "10 kHz"},
                                                          {"18KHz", "18 kHz"},   {"20KHz", "20 kHz"}};
    return NAMES[std::min(aOccupancy, KNOWN_OCCUPANCIES - 1)];
}

const char* RobustnessName(unsigned char aRobustness) {
    static constexpr const char* NAMES[KNOWN_ROBUSTNESS_MODES] = {"A", "B", "C", "D"};
    return NAMES[std::min<unsigned>(aRobustness, KNOWN_ROBUSTNESS_MODES - 1)];
}

ModeName SdcName(bool aIs4Qam) {
    return aIs4Qam ? ModeName{"4QAM", "4-QAM"} : ModeName{"16QAM", "16-QAM"};
}

ModeName MscName(unsigned aMscMode) {
    static constexpr ModeName NAMES[] = {{"64QAM (standard)", "64-QAM"},
                                         {"Hierarchic on I", "64-QAM hierarchical on I"},
                                         {"Hierarchic on I and Q", "64-QAM hierarchical on I and Q"},
                                         {"16QAM (standard)", "16-QAM"}};
    return NAMES[aMscMode & 3];
}

ModeName InterleavingName(bool aIsShort) {
    return aIsShort ? ModeName{"Short (400ms)", "short"} : ModeName{"Long (2s)", "long"};
}
