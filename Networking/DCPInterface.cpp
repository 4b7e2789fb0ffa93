#include "Networking/DCPInterface.h"

#include "Networking/ByteOrder.h"
#include "Networking/TransportFactory.h"
#include "platform/Clock.h"
#include "platform/Console.h"
#include "runtime/Trace.h"

namespace {

constexpr uint32_t FULL_FIFO = 9;           // units waiting, from which on a file is read with pauses
constexpr uint32_t FULL_FIFO_DELAY = 1600;  // milliseconds

void RegisterChecked(Layer& aLayer, const char* apTag) {
    const uint32_t liuRes = aLayer.RegisterTag(apTag, nullptr);
    CHECK_INVARIANT_AS(liuRes == 1, "liuRes == SUCCESSFUL");
}

}  // namespace

std::atomic<uint32_t> DCPInterface::sinDCPInterface = 0;

DCPInterface::DCPInterface(uint32_t aDirection) : ciDirection(aDirection) {
    CHECK_INVARIANT(sinDCPInterface < 255);
    const uint32_t lNumber = sinDCPInterface++;
    char lTaskName[] = "DCT0";
    char lSemaphoreName[] = "DCS0";
    lTaskName[3] = static_cast<char>('0' + static_cast<int>(lNumber));
    lSemaphoreName[3] = static_cast<char>('0' + static_cast<int>(lNumber));
    create(lTaskName, 35, 8192, RTEMS_NO_ASR, 0, RTEMS_NO_ASR, 0, 0, 0);
    ciSemaphore = std::make_unique<rtemsSemaphore>(lSemaphoreName, 0, 1, 0, RTEMS_BINARY_SEMAPHORE, 0, 0, 0);
    CHECK_INVARIANT_AS(ciSemaphore != nullptr, "ciSemaphore!=0");
    CHECK_INVARIANT(ciSemaphore->successful());
    cUnit.cPayloadProtocol = cUnitProtocol;
}

DCPInterface::~DCPInterface() {
    CloseIfOpen();
}

void DCPInterface::CloseIfOpen() {
    if (ciState != STATE_CLOSED)
        Close();
}

// A task that Close suspended still stands in the layers that are gone: it cannot run a new stack.
bool DCPInterface::CanOpen() const {
    return ciState == STATE_CLOSED && !cWasStarted;
}

uint32_t DCPInterface::Open(const char* apAddress, uint32_t aLocalInterface) {
    DCPAddress lAddress;
    if (apAddress == nullptr || lAddress.Parse(apAddress) != 0 || !CanOpen())
        return Fail(DCP_INVALID_ADDRESS);
    ciTransport = lAddress.mTransport;
    TransportSettings lSettings = ciSettings;
    lSettings.mLive = lSettings.mLive || lAddress.mLive;
    MadeTransport lMade = MakeTransport(lAddress, ciDirection, aLocalInterface, lSettings);
    if (lMade.mTransport == nullptr)
        return Fail(lMade.mError);
    ciUDPIPLayer = lMade.mUDPIPLayer;
    ciFileLayer = lMade.mFileLayer;
    return Open(std::move(lMade.mTransport), lAddress);
}

uint32_t DCPInterface::Open(std::unique_ptr<Transport> aTransport, const DCPAddress& aAddress) {
    if (aTransport == nullptr || !CanOpen())
        return Fail(DCP_INVALID_ADDRESS);
    ciTransportLayer = std::move(aTransport);
    BuildStack(aAddress);
    ciState = STATE_OPEN;
    return 1;
}

void DCPInterface::BuildStack(const DCPAddress& aAddress) {
    const TransportTraits& lTraits = ciTransportLayer->GetTraits();
    const bool lIsLive = ciSettings.mLive || aAddress.mLive;
    RegisterChecked(*ciTransportLayer, "AF");
    RegisterChecked(*ciTransportLayer, "PF");

    ciPFTLayer = std::make_unique<PFTLayer>();
    if (ciSupportedErrors != 0)
        ciPFTLayer->ciSupportedErrors = ciSupportedErrors;
    ciPFTLayer->SetLowerLayer(ciTransportLayer.get());
    ciPFTLayer->SetAddressing(lTraits.mHasAddressing ? 1 : 0);
    ciPFTLayer->SetMode(!aAddress.mPFT ? PFT_MODE_NONE : aAddress.mFEC ? PFT_MODE_FEC : PFT_MODE_FRAGMENT);
    if (lIsLive)
        ciPFTLayer->SetLive(lTraits.mPacesItself);

    ciAFLayer = std::make_unique<AFLayer>();
    ciAFLayer->ciUseCRC = aAddress.mCRC;
    ciAFLayer->SetFileMode(lTraits.mFileMode || lIsLive);
    ciAFLayer->ciLive = lIsLive;
    ciAFLayer->SetLowerLayer(ciPFTLayer.get());
    RegisterChecked(*ciPFTLayer, "AF");

    SetLowerLayer(ciAFLayer.get());
    RegisterChecked(*ciAFLayer, "T");
    cReporter.SetObserver(ciObserver);
    for (Layer* const lpLayer :
         {ciLowerLayer, ciAFLayer->ciLowerLayer, ciPFTLayer->ciLowerLayer, static_cast<Layer*>(this)})
        lpLayer->ciReporter = &cReporter;
}

uint32_t DCPInterface::Start() {
    if (ciState != STATE_OPEN)
        return 0;
    ciTimeOut = DCP_NETWORK_TIMEOUT;
    cWasStarted = true;
    if (start(0) != RTEMS_SUCCESSFUL)
        restart(0);
    CHECK_INVARIANT(rtemsTask::successful());
    ciState = STATE_STARTED;
    return 1;
}

void DCPInterface::Close() {
    suspend();
    CHECK_INVARIANT(rtemsTask::successful());
    ciLowerLayer = nullptr;
    ciAFLayer = nullptr;
    ciPFTLayer = nullptr;
    ciUDPIPLayer = nullptr;
    ciFileLayer = nullptr;
    ciTransportLayer = nullptr;
    ciState = STATE_CLOSED;
}

uint32_t DCPInterface::RegisterTag(const char* apTag, uint32_t* apIndex) {
    if (Layer::RegisterTag(apTag, apIndex) != 1)
        return 0;
    auto& lTagQueue = ciTagQueue[GetTagIndex(apTag)];
    if (lTagQueue == nullptr)
        lTagQueue = std::make_unique<PacketFifo>(ciFifoCapacity);
    if (ciSendQueue == nullptr)
        ciSendQueue = std::make_unique<PacketFifo>(DCP_FIFO_CAPACITY);
    return 1;
}

uint32_t DCPInterface::GetQueueCount(uint32_t aTagIndex) {
    PacketFifo* const lpFifo = FifoOf(aTagIndex);
    return lpFifo != nullptr ? lpFifo->GetCount() : 0;
}

// Null for an index without a tag, and for a tag that was registered through the base class, which makes no fifo.
PacketFifo* DCPInterface::FifoOf(uint32_t aTagIndex) const {
    return aTagIndex < ciTagCount ? ciTagQueue[aTagIndex].get() : nullptr;
}

uint32_t DCPInterface::Send(Packet* apPacket) {
    if (ciSendQueue == nullptr)
        return 0;
    const uint32_t liuResult = ciSendQueue->Put(apPacket);
    CHECK_INVARIANT_AS(liuResult == 1, "liuResult == SUCCESSFUL");
    return 1;
}

uint32_t DCPInterface::Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t aTagIndex) {
    ciHeldPacket = nullptr;
    PacketFifo* const lpFifo = FifoOf(aTagIndex);
    if (lpFifo == nullptr)
        return 0;
    const uint32_t lResult = lpFifo->Get(&ciHeldPacket, *apTimeOut);
    if (lResult == 1)
        apOut->Share(ciHeldPacket.get());
    return lResult;
}

void DCPInterface::body(uint32_t aArgument) {
    if (aArgument != 0)
        return;
    if (ciDirection == 1)
        SendingLoop();
    else
        ReceivingLoop();
}

void DCPInterface::ReceivingLoop() {
    const bool lPacesItself = ciTransportLayer->GetTraits().mPacesItself;
    for (cDelay = 0;;) {
        if (!lPacesItself)
            cDelay = ciTimeOut;
        const uint32_t lResult = ciLowerLayer->Receive(&cUnit, &cDelay, 0);
        if (lResult == 1) {
            FileUnit(lPacesItself);
            continue;
        }
        if (lResult == 2) {
            platform::Print("DCPInterface::body TIME_OUT\n");
            ciTimeOut = DCP_NETWORK_TIMEOUT;
        } else if (!lPacesItself) {
            platform::Print("DCPInterface::body  Error %d\n", static_cast<int>(ciLowerLayer->GetError()));
        }
        if (lPacesItself)
            cDelay = RETRY_DELAY;
    }
}

// Puts the unit in hand into the fifo of its tag and chooses the pause before a file is read on.
void DCPInterface::FileUnit(bool aPacesItself) {
    PacketFifo* const lpFifo = JudgeUnit();
    if (lpFifo == nullptr)
        return;
    if (aPacesItself)
        cDelay = lpFifo->GetCount() < FULL_FIFO ? 0 : FULL_FIFO_DELAY;
    if (lpFifo->Put(&cUnit) == 1) {
        Report(StackEvent::UNIT_FILED);
    } else {
        Report(StackEvent::UNIT_OVERFLOWED);
        platform::Print("DCP Interface Overflow\n");
    }
}

// Returns the fifo that the unit in hand goes to; null when the unit is of no use.
PacketFifo* DCPInterface::JudgeUnit() {
    if (cUnit.Parse() != 1) {
        Report(StackEvent::UNIT_DAMAGED);
        if (!ciAFLayer->ciLive)
            platform::Print("DCPInterface::body Parse() == FAILED\n");
        return nullptr;
    }
    PacketFifo* const lpFifo = FifoOf(GetTagIndex(cUnitProtocol));
    if (lpFifo == nullptr) {
        Report(StackEvent::UNIT_FOREIGN, 1, ReadU32(reinterpret_cast<const unsigned char*>(cUnitProtocol)));
        if (!ciAFLayer->ciLive)
            platform::Print("DCPInterface::body IsThisTagRegistered == false\n");
        return nullptr;
    }
    return lpFifo;
}

void DCPInterface::SendingLoop() {
    while (ciSendQueue != nullptr) {
        ciSendQueue->Get(&cSendingPacket, FIFO_NO_WAIT);
        if (cSendingPacket == nullptr)
            break;  // the fifo's semaphore is at fault and would answer like that for ever
        if (const uint32_t lCode = SendDown(cSendingPacket.get()); lCode != 0)
            Fail(lCode);
        cSendingPacket = nullptr;
    }
    for (;;)
        platform::Sleep(DCP_NETWORK_TIMEOUT);  // until the task is ended: there is nothing that it could send
}

// Returns 0, or the code that says why the packet did not go out.
uint32_t DCPInterface::SendDown(Packet* apPacket) {
    uint32_t lCode = 0;
    if (!IsThisTagRegistered(apPacket->cPayloadProtocol)) {
        lCode = LAYER_TAG_NOT_REGISTERED;
    } else if (apPacket->GetSize() > ciMaxPacketSize) {
        lCode = LAYER_PACKET_TOO_BIG;
    } else {
        ciSemaphore->obtain(RTEMS_WAIT);
        if (ciLowerLayer->Send(apPacket) != 1)
            lCode = ciLowerLayer->GetError();
        ciSemaphore->release();
    }
    Report(lCode == 0 ? StackEvent::UNIT_SENT : StackEvent::UNIT_REFUSED, 1, lCode);
    return lCode;
}

uint32_t DCPInterface::PullUnit(uint32_t* apTimeOut, const TAGPacket** appUnit) {
    const uint32_t lResult = ciLowerLayer->Receive(&cUnit, apTimeOut, 0);
    if (lResult != 1)
        return lResult;
    if (JudgeUnit() == nullptr)
        return 0;
    Report(StackEvent::UNIT_FILED);
    *appUnit = &cUnit;
    return 1;
}

uint32_t DCPInterface::PushUnit(Packet* apPacket) {
    const uint32_t lCode = SendDown(apPacket);
    return lCode == 0 ? 1 : Fail(lCode);
}
