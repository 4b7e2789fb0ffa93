#include "Networking/UDPIPLayer.h"

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

// Sending works again within 3 s of a destination's return.  A probe goes out each 2.1 s: this limit and the second
// between probes.  The last one before the return may be lost together with the first one after it, because the system
// asks for a silent neighbour at 0, 1 and 2 s and drops at 3 s what waits for the answer.
constexpr uint32_t RETURN_LIMIT = 1100;  // milliseconds

enum SocketState : uint32_t { CLOSED = 0, OPEN = 1 };
enum Direction : uint32_t { RECEIVING = 0, SENDING = 1 };

// Of the monotonic clock.
uint64_t MicrosecondsNow() {
    const auto lTime = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(lTime).count());
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

    const bool lAny = apAddress == nullptr || std::strcmp(apAddress, "any") == 0;
    cHost = lAny ? ANY_ADDRESS : platform::ParseAddress(apAddress);
    cDirection = aDirection;
    cLocalInterface = aLocalInterface;
    if (!OpenAndConnect()) {
        platform::Print("%s", cFailure);
        if (!ciSettings.mReopen || cDirection != SENDING)
            return Fail(UDP_SOCKET_FAILED);
        cOutage.Begin(cFailure);
    }
    ciBytesReceived = 0;
    ciBytesSent = 0;
    return 1;
}

bool UDPIPLayer::OpenAndConnect() {
    cOutage.NoteOpening();
    if (!ciSocket.Create()) {
        NoteFailure("Allocating socket failed. Error: %d");
        return false;
    }
    if (!ConnectOrBind()) {
        NoteFailure("connecting socket failed. Error: %d");
        ciSocket.Close();
        return false;
    }
    ciState = OPEN;
    return true;
}

bool UDPIPLayer::ConnectOrBind() {
    const auto lPort = static_cast<uint16_t>(ciPort);
    if (cDirection == SENDING)
        return SetSenderOptions() && ciSocket.Connect(cHost, lPort);
    if (cDirection == RECEIVING && platform::IsMulticast(cHost))
        return BindAndJoin(lPort);
    return ciSocket.Bind(cHost, lPort);
}

// The interface that the settings name; nothing when this host has none of that name.
std::optional<platform::NetworkInterface> UDPIPLayer::NamedInterface() const {
    const char* const lpName = ciSettings.mInterface.c_str();
    const uint32_t lAddress = platform::ParseAddress(lpName);
    if (lAddress != platform::NO_ADDRESS)
        return platform::NetworkInterface{0, lAddress};
    return platform::FindInterface(lpName);
}

bool UDPIPLayer::SetSenderOptions() {
    if (ciSettings.mTimeToLive != 0 && !ciSocket.SetTimeToLive(ciSettings.mTimeToLive))
        return false;
    if (ciSettings.mDSCP != 0 && !ciSocket.SetDSCP(ciSettings.mDSCP))
        return false;
    if (ciSettings.mInterface.empty())
        return true;
    const auto lInterface = NamedInterface();
    return lInterface && (!platform::IsMulticast(cHost) || ciSocket.SetMulticastInterface(*lInterface)) &&
           (lInterface->mAddress == 0 || ciSocket.Bind(lInterface->mAddress, 0));
}

bool UDPIPLayer::BindAndJoin(uint16_t aPort) {
    std::optional<platform::NetworkInterface> lInterface = platform::NetworkInterface();
    char lText[UDP_MAX_ADDRESS_LENGTH + 1];
    if (!ciSettings.mInterface.empty())
        lInterface = NamedInterface();
    else if (GetInterfaceAddress(cLocalInterface, lText) == 0)
        lInterface->mAddress = platform::ParseAddress(lText);
    if (!lInterface)
        return false;
    // Only a socket that is bound to the group takes nothing but what it joined itself.
    const bool lToGroup = ciSettings.mSharePort || !ciSettings.mSource.empty();
    const uint32_t lSource = ciSettings.mSource.empty() ? 0 : platform::ParseAddress(ciSettings.mSource.c_str());
    return (lToGroup ? ciSocket.BindToGroup(cHost, aPort) : ciSocket.Bind(ANY_ADDRESS, aPort)) &&
           ciSocket.JoinGroup(cHost, *lInterface, lSource);
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
    Sent lResult = SendDatagram(*apPacket);
    if (lResult == Sent::SOCKET_FAILED && MendSocket())
        lResult = SendDatagram(*apPacket);
    if (lResult != Sent::DONE) {
        ReportUnsent(lResult);
        return Fail(ciSettings.mReopen && ciState != OPEN ? UDP_SOCKET_FAILED : UDP_SEND_FAILED);
    }
    cOutage.End();
    ciBytesSent += apPacket->GetSize();
    return 1;
}

UDPIPLayer::Sent UDPIPLayer::SendDatagram(const Packet& aPacket) {
    if (!ciSocket.SetSendTimeout(UDP_SEND_TIMEOUT)) {
        std::snprintf(cFailure, sizeof cFailure, "setting Socket TimeOut failed.");
        return Sent::SOCKET_FAILED;
    }
    const ProbeRules lRules = {ciSettings.mProbeTries, ciSettings.mReopen ? RETURN_LIMIT : PROBE_LIMIT_MS};
    if (CNameResolutionDaemon::GetAddressState(ciAddress, lRules) == ADDRESS_UNREACHABLE)
        return Sent::UNREACHABLE;
    if (ciSocket.Send(aPacket.cData, aPacket.GetSize()))
        return Sent::DONE;
    NoteFailure("send to socket failed. Error: %d");
    return Sent::SOCKET_FAILED;
}

// A socket does not follow an interface that got another address or was made anew.
bool UDPIPLayer::MendSocket() {
    if (!ciSettings.mReopen || !cOutage.MayOpen())
        return false;
    ciSocket.Close();
    ciState = CLOSED;
    return OpenAndConnect();
}

void UDPIPLayer::ReportUnsent(Sent aResult) {
    if (ciSettings.mReopen)
        cOutage.Begin(aResult == Sent::UNREACHABLE ? "the destination does not answer." : cFailure);
    else if (aResult == Sent::SOCKET_FAILED)
        WriteTrace(cFailure);
}

void UDPIPLayer::NoteFailure(const char* apFormat) {
    std::snprintf(cFailure, sizeof cFailure, apFormat, ciSocket.GetSystemError());
}

uint32_t UDPIPLayer::Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t /*aTagIndex*/) {
    if (!ciSocket.SetReceiveTimeout(*apTimeOut))
        return FailToReceive("setting Socket TimeOut failed. Error: %d", true);
    size_t lSize = 0;
    platform::UdpAddress lSource;
    const auto lResult = ciSocket.Receive(cpcReceivePacket->cData, cpcReceivePacket->cCapacity, &lSize, &lSource);
    InputPlace& lInput = Input();
    lInput.mTime = MicrosecondsNow();
    lInput.mAddress = lSource.mAddress;
    lInput.mPort = lSource.mPort;
    if (lResult == platform::UdpSocket::ReceiveResult::TIMED_OUT) {
        if (!ciSettings.mLive)
            platform::Print("Timeout at UDP level\n");
        return 2;
    }
    if (lResult == platform::UdpSocket::ReceiveResult::FAILED) {
        const bool lTooLong = ciSocket.GetError() == platform::SocketError::TOO_LONG;
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
    platform::Print(apFormat, ciSocket.GetSystemError());
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
