#include "tools/CaptureTransport.h"

#include <algorithm>

#include "Networking/StatusCodes.h"
#include "platform/Interrupt.h"

namespace {

constexpr uint32_t LONGEST_DATAGRAM = IPV4_MAX_PAYLOAD;

}  // namespace

CaptureTransport::CaptureTransport() : Transport(TransportTraits()), cPacket(LONGEST_DATAGRAM) {
    ciMaxPacketSize = LONGEST_DATAGRAM;
    cPacket.cProtocol = cProtocol;
}

uint32_t CaptureTransport::Send(Packet* /*apPacket*/) {
    return Fail(LAYER_TAG_NOT_REGISTERED);
}

uint32_t CaptureTransport::Receive(Packet* apOut, uint32_t* /*apTimeOut*/, uint32_t /*aTagIndex*/) {
    CaptureDatagram lDatagram;
    while (!platform::Interrupted()) {
        if (!cSource.Read(&lDatagram))
            return End();
        Take(lDatagram);
        if (IsThisTagRegistered(cProtocol)) {
            Report(StackEvent::INPUT_TAKEN);
            apOut->Share(&cPacket);
            return 1;
        }
        Report(StackEvent::INPUT_FOREIGN);
    }
    return 2;
}

void CaptureTransport::Take(const CaptureDatagram& aDatagram) {
    InputPlace& lInput = Input();
    lInput.mTime = std::max(lInput.mTime, aDatagram.mTime);
    lInput.mRecord = aDatagram.mFrame;
    lInput.mAddress = aDatagram.mSource;
    lInput.mPort = aDatagram.mSourcePort;
    cPacket.Rewind();
    cPacket.SetSize(0);
    cPacket.Write(static_cast<uint32_t>(aDatagram.mData.size()), aDatagram.mData.data());
    SetTag(cProtocol, cPacket);
}

uint32_t CaptureTransport::End() {
    if (!ciAtEnd && !cSource.GetDamage().empty())
        Report(StackEvent::RECORDING_FAILED);
    ciAtEnd = true;
    ciError = FILE_END;
    return 2;
}
