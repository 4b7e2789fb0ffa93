#include "Networking/Receiver/ModeReport.h"

#include <algorithm>

namespace {

std::string Line(const char* aField, const char* aValue) {
    return std::string("\t") + aField + " => " + aValue + "\n";
}

}  // namespace

std::string ModeReport(const unsigned char (&aFac)[MDI_FAC_SIZE], unsigned char aRobustnessMode) {
    static const char* const OCCUPANCIES[] = {"4.5KHz", "5KHz", "9KHz", "10KHz", "18KHz", "20KHz"};
    static const char* const ROBUSTNESS_MODES[] = {"A", "B", "C", "D"};
    static const char* const MSC_MODES[] = {"64QAM (standard)", "Hierarchic on I", "Hierarchic on I and Q",
                                            "16QAM (standard)"};
    const int lOccupancy = std::min((aFac[0] >> 1) & 15, 5);
    const bool lShortInterleaving = (aFac[0] & 1) != 0;
    const int lMSCMode = aFac[1] >> 6;
    const bool lSDCIs4QAM = (aFac[1] & 0x20) != 0;
    return "DRM Mode:\n" + Line("Spectrum Occupancy", OCCUPANCIES[lOccupancy]) +
           Line("Robustness Mode", ROBUSTNESS_MODES[std::min<int>(aRobustnessMode, 3)]) +
           Line("SDC Mode", lSDCIs4QAM ? "4QAM" : "16QAM") + Line("MSC Mode", MSC_MODES[lMSCMode]) +
           Line("Time Interleaving", lShortInterleaving ? "Short (400ms)" : "Long (2s)") + "\n";
}
