#include "Networking/UDPIPLayer.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <utility>

#include "DrmUtil/CNameResolutionDaemon.h"
#include "platform/Console.h"
#include "runtime/Trace.h"

namespace {

constexpr uint32_t ANY_ADDRESS = 0;
constexpr uint32_t LOOPBACK_ADDRESS = 0x7F000001;

enum SocketState : uint32_t { CLOSED = 0, OPEN = 1 };

// Of the monotonic clock.
uint64_t MicrosecondsNow() {
    const auto lTime = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(lTime).count());
}

bool IsMulticast(uint32_t aAddress) {
    return aAddress >> 28 == 0xE;
}

}  // namespace

UDPIPLayer::UDPIPLayer()
    : Transport(TransportTraits()), cpcReceivePacket(std::make_unique<Packet>(UDP_MAX_PACKET_SIZE)) {
    ciMaxPacketSize = UDP_MAX_PACKET_SIZE;
    ciState = CLOSED;
    cpcReceivePacket->cProtocol = ciReceivedTag;
}

uint32_t UDPIPLayer::OpenSocket(uint32_t aDirection, uint32_t aPort, const char* apAddress, uint32_t aLocalInterface) {
    ciPort = aPort & 0xFFFF;
    if (ciState == OPEN) {
        platform::Print("closesocket in opensocket\n");
        CloseSocket();
    }
    if (aPort < UDP_FIRST_PORT || ciPort < UDP_FIRST_PORT)
        return Fail(UDP_INVALID_PORT);
    if (apAddress != nullptr && std::strlen(apAddress) > UDP_MAX_ADDRESS_LENGTH)
        return Fail(UDP_INVALID_ADDRESS);
    std::snprintf(ciAddress, sizeof ciAddress, "%s", apAddress != nullptr ? apAddress : "");
    if (ciSettings.mLive) {
        cpcReceivePacket = std::make_unique<Packet>(UDP_LONGEST_PACKET);
        cpcReceivePacket->cProtocol = ciReceivedTag;
    }

    if (!ciSocket.Create()) {
        platform::Print("Allocating socket failed. Error: %d", ciSocket.GetLastError());
        return Fail(UDP_SOCKET_FAILED);
    }
    if (!ConnectOrBind(aDirection, apAddress, aLocalInterface)) {
        platform::Print("connecting socket failed. Error: %d", ciSocket.GetLastError());
        ciSocket.Close();
        return Fail(UDP_SOCKET_FAILED);
    }
    ciState = OPEN;
    ciBytesReceived = 0;
    ciBytesSent = 0;
    return 1;
}

bool UDPIPLayer::ConnectOrBind(uint32_t aDirection, const char* apAddress, uint32_t aLocalInterface) {
    const bool lAny = apAddress == nullptr || std::strcmp(apAddress, "any") == 0;
    const uint32_t lAddress = lAny ? ANY_ADDRESS : platform::ParseAddress(apAddress);
    const auto lPort = static_cast<uint16_t>(ciPort);
    if (aDirection == 1)
        return ciSocket.Connect(lAddress, lPort);
    if (aDirection == 0 && IsMulticast(lAddress))
        return ciSocket.Bind(ANY_ADDRESS, lPort) && JoinGroup(lAddress, aLocalInterface);
    return ciSocket.Bind(lAddress, lPort);
}

bool UDPIPLayer::JoinGroup(uint32_t aGroup, uint32_t aLocalInterface) {
    char lText[UDP_MAX_ADDRESS_LENGTH + 1];
    const bool lFound = GetInterfaceAddress(aLocalInterface, lText) == 0;
    return ciSocket.JoinGroup(aGroup, lFound ? platform::ParseAddress(lText) : ANY_ADDRESS);
}

void UDPIPLayer::CloseSocket() {
    if (ciState != OPEN)
        return;
    ciSocket.Close();
    ciState = CLOSED;
    ciBytesReceived = 0;
}

uint32_t UDPIPLayer::Send(Packet* apPacket) {
    if (!IsThisTagRegistered(apPacket->cProtocol))
        return Fail(LAYER_TAG_NOT_REGISTERED);
    if (apPacket->GetSize() > ciMaxPacketSize)
        return Fail(LAYER_PACKET_TOO_BIG);
    if (!ciSocket.SetSendTimeout(UDP_SEND_TIMEOUT)) {
        WriteTrace("setting Socket TimeOut failed.");
        return Fail(UDP_SEND_FAILED);
    }
    if (CNameResolutionDaemon::GetAddressState(ciAddress) == ADDRESS_UNREACHABLE)
        return Fail(UDP_SEND_FAILED);
    if (!ciSocket.Send(apPacket->cData, apPacket->GetSize())) {
        char lMessage[64];
        std::snprintf(lMessage, sizeof lMessage, "send to socket failed. Error: %d", ciSocket.GetLastError());
        WriteTrace(lMessage);
        return Fail(UDP_SEND_FAILED);
    }
    ciBytesSent += apPacket->GetSize();
    return 1;
}

uint32_t UDPIPLayer::Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t /*aTagIndex*/) {
    if (!ciSocket.SetReceiveTimeout(*apTimeOut))
        return FailToReceive("setting Socket TimeOut failed. Error: %d", true);
    size_t lSize = 0;
    const auto lResult = ciSocket.Receive(cpcReceivePacket->cData, cpcReceivePacket->cCapacity, &lSize);
    Input().mTime = MicrosecondsNow();
    if (lResult == platform::UdpSocket::ReceiveResult::TIMED_OUT) {
        if (!ciSettings.mLive)
            platform::Print("Timeout at UDP level\n");
        return 2;
    }
    if (lResult == platform::UdpSocket::ReceiveResult::FAILED) {
        const bool lTooLong = ciSocket.GetLastError() == EMSGSIZE;
        if (lTooLong)
            Report(StackEvent::INPUT_OVERSIZE);
        return FailToReceive("receive from socket failed. Error: %d", !lTooLong);
    }
    cpcReceivePacket->SetSize(static_cast<uint32_t>(lSize));
    SetTag(ciReceivedTag, *cpcReceivePacket);
    if (!IsThisTagRegistered(ciReceivedTag)) {
        Report(StackEvent::INPUT_FOREIGN);
        if (!ciSettings.mLive)
            platform::Print("not registered\n");
        return 2;
    }
    Report(StackEvent::INPUT_TAKEN);
    ciBytesReceived += static_cast<uint32_t>(lSize);
    apOut->Share(cpcReceivePacket.get());
    return 1;
}

uint32_t UDPIPLayer::FailToReceive(const char* apFormat, bool aTakesNoTime) {
    platform::Print(apFormat, ciSocket.GetLastError());
    if (aTakesNoTime)
        BrakeFailure();
    return Fail(UDP_RECEIVE_FAILED);
}

uint32_t UDPIPLayer::GetBytesReceived() {
    return std::exchange(ciBytesReceived, 0);
}

uint32_t UDPIPLayer::GetBytesSent() {
    return std::exchange(ciBytesSent, 0);
}

int32_t UDPIPLayer::GetInterfaceAddress(uint32_t aIndex, char* apOut) {
    for (const uint32_t lAddress : platform::InterfaceAddresses().value_or(platform::AddressList())) {
        if (lAddress == LOOPBACK_ADDRESS)
            continue;
        if (aIndex-- == 0) {
            platform::FormatAddress(lAddress, apOut);
            return 0;
        }
    }
    return -1;
}
