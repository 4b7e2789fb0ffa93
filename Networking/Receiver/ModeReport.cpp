#include "Networking/Receiver/ModeReport.h"

namespace {

std::string Line(const char* aField, const char* aName) {
    return std::string("\t") + aField + " => " + aName + "\n";
}

}  // namespace

std::string ModeReport(const FacFields& aFac, unsigned char aRobustness) {
    return "DRM Mode:\n" + Line("Spectrum Occupancy", OccupancyName(aFac.mOccupancy).mInReport) +
           Line("Robustness Mode", RobustnessName(aRobustness)) + Line("SDC Mode", SdcName(aFac.mSdcIs4Qam).mInReport) +
           Line("MSC Mode", MscName(aFac.mMscMode).mInReport) +
           Line("Time Interleaving", InterleavingName(aFac.mShortInterleaving).mInReport) + "\n";
}
