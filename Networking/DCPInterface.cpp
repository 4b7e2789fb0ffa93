#include "Networking/DCPInterface.h"

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
}

DCPInterface::~DCPInterface() {
    CloseIfOpen();
}

void DCPInterface::CloseIfOpen() {
    if (ciState != STATE_CLOSED)
        Close();
}

uint32_t DCPInterface::Open(const char* apAddress, uint32_t aLocalInterface) {
    // A task that Close suspended still stands in the layers that are gone: it cannot run a new stack.
    if (ciState != STATE_CLOSED || cWasStarted)
        return Fail(DCP_INVALID_ADDRESS);
    DCPAddress lAddress;
    if (apAddress == nullptr || lAddress.Parse(apAddress) != 0)
        return Fail(DCP_INVALID_ADDRESS);
    Layer* const lpTransport = OpenTransport(lAddress, aLocalInterface);
    if (lpTransport == nullptr)
        return 0;
    const bool lIsFile = lAddress.mTransport == TRANSPORT_FILE;

    ciPFTLayer = std::make_unique<PFTLayer>();
    ciPFTLayer->SetLowerLayer(lpTransport);
    ciPFTLayer->SetAddressing(lIsFile ? 1 : 0);
    ciPFTLayer->SetMode(!lAddress.mPFT ? PFT_MODE_NONE : lAddress.mFEC ? PFT_MODE_FEC : PFT_MODE_FRAGMENT);

    ciAFLayer = std::make_unique<AFLayer>();
    ciAFLayer->ciUseCRC = lAddress.mCRC;
    ciAFLayer->SetFileMode(lIsFile);
    ciAFLayer->SetLowerLayer(ciPFTLayer.get());
    RegisterChecked(*ciPFTLayer, "AF");

    SetLowerLayer(ciAFLayer.get());
    RegisterChecked(*ciAFLayer, "T");
    ciState = STATE_OPEN;
    return 1;
}

// Makes the stack's lowest layer; null with the endpoint's code when it refuses.
Layer* DCPInterface::OpenTransport(const DCPAddress& aAddress, uint32_t aLocalInterface) {
    ciTransport = aAddress.mTransport;
    if (ciTransport != TRANSPORT_UDP && ciTransport != TRANSPORT_FILE) {
        Fail(DCP_TRANSPORT_NOT_SUPPORTED);
        return nullptr;
    }
    const char* const lpName = aAddress.mName.c_str();
    Layer* lpTransport = nullptr;
    uint32_t lResult = 0;
    if (ciTransport == TRANSPORT_UDP) {
        ciUDPIPLayer = std::make_unique<UDPIPLayer>();
        lpTransport = ciUDPIPLayer.get();
        lResult = ciUDPIPLayer->OpenSocket(ciDirection, aAddress.mNumber, lpName, aLocalInterface);
    } else {
        ciFileLayer = std::make_unique<FileLayer>();
        lpTransport = ciFileLayer.get();
        lResult = ciFileLayer->Open(lpName, ciDirection == 1, aAddress.mNumber);
    }
    if (lResult != 1) {
        Fail(lpTransport->GetError());
        ciUDPIPLayer = nullptr;
        ciFileLayer = nullptr;
        return nullptr;
    }
    RegisterChecked(*lpTransport, "AF");
    RegisterChecked(*lpTransport, "PF");
    return lpTransport;
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
    return aTagIndex < ciTagCount ? ciTagQueue[aTagIndex]->GetCount() : 0;
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
    if (aTagIndex >= ciTagCount)
        return 0;
    Packet* lpPacket = nullptr;
    const uint32_t lResult = ciTagQueue[aTagIndex]->Get(&lpPacket, *apTimeOut);
    ciHeldPacket.reset(lpPacket);
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
    char lProtocol[5] = "";
    TAGPacket lUnit(0);
    lUnit.cPayloadProtocol = lProtocol;
    const bool lIsFile = ciTransport == TRANSPORT_FILE;
    for (uint32_t lDelay = 0;;) {
        if (!lIsFile)
            lDelay = ciTimeOut;
        const uint32_t lResult = ciLowerLayer->Receive(&lUnit, &lDelay, 0);
        if (lResult == 1) {
            FileUnit(lUnit, &lDelay);
        } else if (lResult == 2) {
            platform::Print("DCPInterface::body TIME_OUT\n");
            ciTimeOut = DCP_NETWORK_TIMEOUT;
        } else if (!lIsFile) {
            platform::Print("DCPInterface::body  Error %d\n", static_cast<int>(ciLowerLayer->GetError()));
        }
        if (lResult != 1 && lIsFile)
            lDelay = RETRY_DELAY;
    }
}

// Puts a unit into the fifo of its tag and, for a file, says when to read on.
void DCPInterface::FileUnit(TAGPacket& aUnit, uint32_t* apDelay) {
    if (aUnit.Parse() != 1) {
        platform::Print("DCPInterface::body Parse() == FAILED\n");
        cBrake.Useless(RetryBrake::REPORTED, apDelay);
        return;
    }
    const uint32_t lIndex = GetTagIndex(aUnit.cPayloadProtocol);
    if (lIndex == LAYER_NO_TAG_INDEX) {
        platform::Print("DCPInterface::body IsThisTagRegistered == false\n");
        cBrake.Useless(RetryBrake::REPORTED, apDelay);
        return;
    }
    cBrake.Useful();
    if (ciTransport == TRANSPORT_FILE)
        *apDelay = ciTagQueue[lIndex]->GetCount() < FULL_FIFO ? 0 : FULL_FIFO_DELAY;
    if (ciTagQueue[lIndex]->Put(&aUnit) != 1)
        platform::Print("DCP Interface Overflow\n");
}

void DCPInterface::SendingLoop() {
    for (;;) {
        Packet* lpPacket = nullptr;
        ciSendQueue->Get(&lpPacket, FIFO_NO_WAIT);
        const std::unique_ptr<Packet> lPacket(lpPacket);
        if (lPacket != nullptr)
            SendDown(lPacket.get());
        else
            platform::Sleep(RETRY_DELAY);  // the fifo's semaphore is at fault and will be again
    }
}

void DCPInterface::SendDown(Packet* apPacket) {
    if (!IsThisTagRegistered(apPacket->cPayloadProtocol)) {
        Fail(LAYER_TAG_NOT_REGISTERED);
        return;
    }
    if (apPacket->GetSize() > ciMaxPacketSize) {
        Fail(LAYER_PACKET_TOO_BIG);
        return;
    }
    // Not by a guard object: the semaphore is gone when an ended task unwinds from here.
    ciSemaphore->obtain(RTEMS_WAIT);
    if (ciLowerLayer->Send(apPacket) != 1)
        FailAsBelow();
    ciSemaphore->release();
}
