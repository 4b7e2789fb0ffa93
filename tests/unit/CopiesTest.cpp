// Counts how often a unit's bytes are copied on their way through two endpoints.  The linker redirects every memcpy and
// memmove of this program to this file (see CMakeLists.txt).

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <vector>

#include "Networking/DRMNetworkInterface.h"
#include "Networking/MDIUnit.h"
#include "tests/unit/TestSupport.h"

namespace {

constexpr uint32_t STREAM_SIZE = 3000;   // more than two fragments over UDP
constexpr size_t SMALLEST_COUNTED = 60;  // bytes; smaller copies are those of headers and small items

std::atomic<size_t> sCopied = 0;

}  // namespace

extern "C" {
void* __real_memcpy(void* apTo, const void* apFrom, size_t aSize);
void* __real_memmove(void* apTo, const void* apFrom, size_t aSize);
void* __wrap_memcpy(void* apTo, const void* apFrom, size_t aSize);
void* __wrap_memmove(void* apTo, const void* apFrom, size_t aSize);

void* __wrap_memcpy(void* apTo, const void* apFrom, size_t aSize) {
    sCopied += aSize >= SMALLEST_COUNTED ? aSize : 0;
    return __real_memcpy(apTo, apFrom, aSize);
}

void* __wrap_memmove(void* apTo, const void* apFrom, size_t aSize) {
    sCopied += aSize >= SMALLEST_COUNTED ? aSize : 0;
    return __real_memmove(apTo, apFrom, aSize);
}
}

namespace {

// Counts the units that an endpoint has filed or sent.
class UnitCounter : public StackObserver {
public:
    void Observe(const StackReport& aReport) override {
        if (aReport.mEvent == StackEvent::UNIT_FILED || aReport.mEvent == StackEvent::UNIT_SENT)
            ++cUnits;
    }
    bool Await(uint32_t aUnits) const {
        return Eventually([&] { return cUnits >= aUnits; });
    }

private:
    std::atomic<uint32_t> cUnits = 0;
};

std::unique_ptr<MDIUnit> TestUnit() {
    const std::vector<unsigned char> lStream(STREAM_SIZE);
    auto lUnit = std::make_unique<MDIUnit>(4000, uint16_t{0}, uint16_t{0});
    lUnit->SetDlfc(0, false);
    lUnit->SetFac(lStream.data());
    lUnit->SetSdci(8, lStream.data());
    lUnit->SetRobm(1);
    lUnit->SetStream(0, 8 * STREAM_SIZE, lStream.data());
    return lUnit;
}

// Returns how often each of aUnits units was copied while aAct ran.
template <typename Act>
size_t CopiesOf(uint32_t aUnits, Act aAct) {
    const size_t lBefore = sCopied;
    aAct();
    return (sCopied - lBefore) / (aUnits * STREAM_SIZE);
}

TEST(CopiesTest, AUnitIsCopiedWhereItChangesItsOwnerOrItsForm) {
    const TestDirectory lDirectory;
    const auto lUnit = TestUnit();
    for (const auto& [lScheme, lExpected] : {std::pair{"dcp.file:", 2u}, {"dcp.file.pft:", 2u}}) {
        UnitCounter lRecorded, lFiled;
        DRMNetworkInterface lRecorder(1, 0), lPlayer(0, 6000);
        lRecorder.ciObserver = &lRecorded;
        lPlayer.ciObserver = &lFiled;
        ASSERT_TRUE(lRecorder.Open((std::string(lScheme) + "rec.mdi:99:0").c_str(), 0) && lRecorder.EnableMDI() &&
                    lRecorder.Start());
        for (uint32_t lCount = 1; lCount <= 12; ++lCount) {
            lRecorder.Send(lUnit.get());
            ASSERT_TRUE(lRecorded.Await(lCount));
        }
        ASSERT_EQ(1u, lPlayer.Open((std::string(lScheme) + "rec.mdi:0:0").c_str(), 0));
        ASSERT_EQ(1u, lPlayer.EnableMDI());
        // A unit is copied from the file into a packet and from there into the fifo.  After nine the player pauses.
        EXPECT_EQ(lExpected, CopiesOf(9, [&] { ASSERT_TRUE(lPlayer.Start() && lFiled.Await(9)); })) << lScheme;
    }
    UnitCounter lSent;
    DRMNetworkInterface lSender(1, 0);
    lSender.ciObserver = &lSent;
    ASSERT_EQ(1u, lSender.Open(("dcp.udp.pft://127.0.0.1:" + std::to_string(TestPort())).c_str(), 0));
    ASSERT_TRUE(lSender.EnableMDI() && lSender.Start());
    // A unit is copied into the fifo, into the AF packet and into the fragments.
    EXPECT_EQ(3u, CopiesOf(1, [&] {
                  lSender.Send(lUnit.get());
                  ASSERT_TRUE(lSent.Await(1));
              }));
}

}  // namespace
