#include "Networking/AFLayer.h"

#include "platform/Console.h"
#include "runtime/Trace.h"

AFLayer::AFLayer()
    : ciQueue(std::make_unique<PacketQueue>(AF_QUEUE_SIZE)), ciCRC(std::make_unique<CRC16>(CRC16_POLYNOMIAL, true)) {
    ciOverhead = AF_OVERHEAD;
}

void AFLayer::NewPacket(uint32_t aCapacity) {
    ciPacket = std::make_unique<AFPacket>(aCapacity, ciMajorVersion, ciMinorVersion);
    ciPacket->SetCRCEngine(ciCRC.get());
    ciPacket->cPayloadProtocol = ciPayloadProtocol;
}

uint32_t AFLayer::Send(Packet* apPacket) {
    if (!IsThisTagRegistered(apPacket->cProtocol))
        return Fail(LAYER_TAG_NOT_REGISTERED);
    if (apPacket->GetSize() > ciMaxPacketSize)
        return Fail(LAYER_PACKET_TOO_BIG);
    NewPacket(AF_OVERHEAD + apPacket->GetSize());
    ciPayloadProtocol[0] = apPacket->cProtocol[0];
    if (ciPacket->WritePayload(apPacket->GetSize(), apPacket->cData) != 1)
        return Fail(ciPacket->GetError());
    if (ciPacket->SetHeader(ciSequence, ciUseCRC) != 1 || ciPacket->SetCRC(ciUseCRC) != 1)
        return Fail(ciPacket->GetError());
    if (ciLowerLayer->Send(ciPacket.get()) != 1)
        return FailAsBelow();
    ++ciSequence;
    return 1;
}

uint32_t AFLayer::Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t /*aTagIndex*/) {
    if (TakeFromQueue(apOut))
        return 1;
    NewPacket(0);
    for (;;) {
        const uint32_t lResult = ciLowerLayer->Receive(ciPacket.get(), apTimeOut, 0);
        if (lResult == 0)
            FailAsBelow();
        if (lResult == 0 || lResult == 2)
            return LoseSynchronisation(lResult);
        if (lResult != 1) {
            CHECK_INVARIANT_AS(false, "0");
            continue;
        }
        if ((ciLive ? ciPacket->ParseSound() : ciPacket->Parse()) != 1) {
            Report(StackEvent::PACKET_DAMAGED);
            if (ciLive)
                continue;
            platform::Print("AF Packet Parsing Failed\n");
            DropQueue();
            return 0;
        }
        if (!IsThisTagRegistered(ciPayloadProtocol)) {
            Report(StackEvent::PACKET_FOREIGN, 1, ciPacket->GetSequence());
            continue;
        }
        const uint16_t lSequence = ciPacket->GetSequence();
        if (ciState != SYNCHRONISED) {
            ciSequence = lSequence;
            ciState = SYNCHRONISED;
        }
        switch (ciFileMode ? Verdict::EXPECTED : Judge(lSequence)) {
            case Verdict::EXPECTED:
                apOut->SharePayload(ciPacket.get());
                ++ciSequence;
                return 1;
            case Verdict::EARLY:
                ciQueue->Insert(ciPacket.get(), lSequence, 0, 1);  // a full queue drops the packet
                break;
            case Verdict::OUT_OF_SEQUENCE:
                Report(lSequence < ciSequence ? StackEvent::PACKET_LATE : StackEvent::PACKETS_LOST, 1, lSequence);
                return LoseSynchronisation(0);
        }
    }
}

bool AFLayer::TakeFromQueue(Packet* apOut) {
    if (ciQueue->IsEmpty() || ciQueue->PeekSequence() != ciSequence)
        return false;
    Packet* lpStored = nullptr;
    uint32_t lSequence = 0;
    uint32_t lIndex = 0;
    uint32_t lExtra = 0;
    ciQueue->GetFirst(&lpStored, &lSequence, &lIndex, &lExtra);
    // Only packets that Parse accepted are queued, so header and CRC are there; cProtocol names the payload's protocol.
    ciPayloadProtocol[0] = lpStored->cProtocol[0];
    lpStored->cPayload = lpStored->cData + AF_HEADER_SIZE;
    lpStored->cPayloadSize = lpStored->GetSize() - AF_OVERHEAD;
    lpStored->cPayloadProtocol = ciPayloadProtocol;
    apOut->SharePayload(lpStored);
    ++ciSequence;
    return true;
}

uint32_t AFLayer::LoseSynchronisation(uint32_t aResult) {
    DropQueue();
    ciState = NOT_SYNCHRONISED;
    return aResult;
}

void AFLayer::DropQueue() {
    Report(StackEvent::PACKETS_LOST, ciQueue->GetCount(), ciSequence);
    ciQueue->Clear();
}

AFLayer::Verdict AFLayer::Judge(uint16_t aSequence) const {
    if (aSequence == ciSequence)
        return Verdict::EXPECTED;
    if (aSequence > ciSequence)
        return aSequence - ciSequence <= static_cast<int>(AF_QUEUE_SIZE) ? Verdict::EARLY : Verdict::OUT_OF_SEQUENCE;
    // Ten or more behind counts as ahead: the numbering has wrapped past 65535.
    return ciSequence - aSequence < static_cast<int>(AF_QUEUE_SIZE) ? Verdict::OUT_OF_SEQUENCE : Verdict::EARLY;
}
