#include "Networking/DRMNetworkInterface.h"

#include "Networking/MDIUnit.h"
#include "runtime/Trace.h"

DRMNetworkInterface::DRMNetworkInterface(uint32_t aDirection, uint32_t ainMaxNetworkDelay) : DCPInterface(aDirection) {
    if (aDirection == 0)
        SetMaxNetworkDelay(ainMaxNetworkDelay);
}

void DRMNetworkInterface::SetMaxNetworkDelay(uint32_t ainMaxNetworkDelay) {
    CHECK_INVARIANT_AS(ainMaxNetworkDelay >= 400 * 2, "ainMaxNetworkDelay >= 400*2");
    ciMaxNetworkDelay = ainMaxNetworkDelay;
}

uint32_t DRMNetworkInterface::EnableMDI() {
    return Enable("DMDI", &ciMDIIndex, &ciMDIEnabled);
}

uint32_t DRMNetworkInterface::EnableMCI() {
    return Enable("DMCI", &ciMCIIndex, &ciMCIEnabled);
}

uint32_t DRMNetworkInterface::EnableSDI() {
    return Enable("DSDI", &ciSDIIndex, &ciSDIEnabled);
}

uint32_t DRMNetworkInterface::Enable(const char* apTag, uint32_t* apIndex, bool* apEnabled) {
    if (ciState != STATE_OPEN)
        return Fail(DCP_NOT_OPEN);
    if (RegisterTag(apTag, apIndex) != 1)
        return 0;
    *apEnabled = true;
    return 1;
}

uint32_t DRMNetworkInterface::ReceiveMDI(Packet* apOut) {
    return ReceiveUnit(apOut, ciMDIEnabled, ciMaxNetworkDelay, ciMDIIndex);
}

uint32_t DRMNetworkInterface::ReceiveMCI(Packet* apOut) {
    return ReceiveUnit(apOut, ciMCIEnabled, MCI_TIMEOUT, ciMCIIndex);
}

uint32_t DRMNetworkInterface::ReceiveSDI(Packet* apOut) {
    return ReceiveUnit(apOut, ciSDIEnabled, ciTimeOut, ciSDIIndex);
}

uint32_t DRMNetworkInterface::ReceiveUnit(Packet* apOut, bool aEnabled, uint32_t aTimeOut, uint32_t aIndex) {
    if (!aEnabled)
        return Fail(LAYER_TAG_NOT_REGISTERED);
    return Receive(apOut, &aTimeOut, aIndex);
}

void DRMNetworkInterface::FlushMDI() {
    MDIUnit lUnit(0, 0, 0);
    while (GetQueueCount(ciMDIIndex) > 0 && ReceiveMDI(&lUnit) == 1) {
    }
}
