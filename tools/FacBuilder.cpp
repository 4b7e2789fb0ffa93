#include "tools/FacBuilder.h"

#include <algorithm>

#include "Networking/FacFields.h"
#include "tools/BitWriter.h"

namespace {

constexpr uint32_t AUDIO_SERVICES[] = {4, 8, 12, 0};  // the codes for 1 to 4 audio services and no data service
constexpr uint32_t FIRST_SERVICE_ID = 0xE1D000;
constexpr uint32_t LANGUAGE_ENGLISH = 5;
constexpr uint32_t PROGRAMME_NEWS = 1;

}  // namespace

Fac BuildFac(const DrmMode& aMode, unsigned aIdentity, size_t aServices, size_t aService) {
    const uint32_t lService = static_cast<uint32_t>(aService);
    BitWriter lWriter;
    lWriter.Put(0, 1);  // base layer
    lWriter.Put(aIdentity, 2);
    lWriter.Put(aMode.mOccupancy, 4);
    lWriter.Put(aMode.mShortInterleaving, 1);
    lWriter.Put(aMode.mMsc, 2);
    lWriter.Put(aMode.mSdc4Qam, 1);
    lWriter.Put(AUDIO_SERVICES[aServices - 1], 4);
    lWriter.Put(0, 3);  // no reconfiguration ahead
    lWriter.Put(0, 2);
    lWriter.Put(FIRST_SERVICE_ID + lService, 24);
    lWriter.Put(lService, 2);  // short identifier
    lWriter.Put(0, 1);         // no conditional access
    lWriter.Put(LANGUAGE_ENGLISH, 4);
    lWriter.Put(0, 1);  // audio
    lWriter.Put(PROGRAMME_NEWS, 5);
    lWriter.Put(0, 7);

    lWriter.Put(ComputeFacCRC(lWriter.GetBytes().data()), 8);
    Fac lFac{};
    std::copy(lWriter.GetBytes().begin(), lWriter.GetBytes().end(), lFac.begin());
    return lFac;
}
