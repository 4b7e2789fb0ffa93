#include "tools/CaptureFrame.h"

#include <algorithm>
#include <cstddef>
#include <optional>

#include "Networking/ByteOrder.h"

namespace {

constexpr uint32_t TYPE_IPV4 = 0x0800;
constexpr uint32_t TYPE_VLAN = 0x8100;
constexpr uint32_t TYPE_SERVICE_VLAN = 0x88A8;
constexpr uint32_t TYPE_IPV6 = 0x86DD;
constexpr uint32_t TYPE_OLD_DOUBLE_VLAN = 0x9100;

constexpr size_t VLAN_TAG_SIZE = 4;  // two bytes of tag, two of the type of what follows
constexpr size_t LOOPBACK_HEADER_SIZE = 4;
constexpr size_t IPV4_HEADER_SIZE = 20;  // without options
constexpr size_t UDP_HEADER_SIZE = 8;
constexpr unsigned PROTOCOL_UDP = 17;
constexpr unsigned MORE_FRAGMENTS = 0x2000;
constexpr unsigned OFFSET_MASK = 0x1FFF;

// A packet behind its link header.
struct LinkPayload {
    uint32_t mType;  // as Ethernet numbers it, 0 for what is of no interest
    ByteView mBytes;
};

bool IsVlan(uint32_t aType) {
    return aType == TYPE_VLAN || aType == TYPE_SERVICE_VLAN || aType == TYPE_OLD_DOUBLE_VLAN;
}

// Whether a byte can be the first one of an IPv4 header: version 4, and a header of 20 bytes or more.
bool BeginsIPv4(unsigned char aByte) {
    return aByte >= 0x45 && aByte <= 0x4F;
}

// Linux captures all interfaces at once with the type that follows the last tag, but takes only the first tag out of
// the bytes.  So where an IPv4 header should be, there may be more tags, and the header behind them.
bool HidesVlan(const LinkPayload& aPayload) {
    const ByteView lBytes = aPayload.mBytes;
    if (aPayload.mType != TYPE_IPV4 || lBytes.size() <= VLAN_TAG_SIZE || BeginsIPv4(lBytes[0]))
        return false;
    const uint32_t lType = ReadU16(&lBytes[2]);
    return IsVlan(lType) || (lType == TYPE_IPV4 && BeginsIPv4(lBytes[VLAN_TAG_SIZE]));
}

// A header of aSize bytes that tells the type of what follows at aTypeOffset, and VLAN tags.
std::optional<LinkPayload> SkipHeader(ByteView aFrame, size_t aTypeOffset, size_t aSize) {
    if (aFrame.size() < aSize)
        return std::nullopt;
    LinkPayload lPayload{ReadU16(&aFrame[aTypeOffset]), aFrame.subspan(aSize)};
    while (IsVlan(lPayload.mType) || HidesVlan(lPayload)) {
        if (lPayload.mBytes.size() < VLAN_TAG_SIZE)
            return std::nullopt;
        lPayload = {ReadU16(&lPayload.mBytes[2]), lPayload.mBytes.subspan(VLAN_TAG_SIZE)};
    }
    return lPayload;
}

// Each system has a number of its own for IPv6.
uint32_t TypeOfFamily(uint32_t aFamily) {
    switch (aFamily) {
        case 2:
            return TYPE_IPV4;
        case 10:
        case 24:
        case 28:
        case 30:
            return TYPE_IPV6;
        default:
            return 0;
    }
}

uint32_t Swapped(uint32_t aValue) {
    return aValue >> 24 | (aValue >> 8 & 0xFF00) | (aValue << 8 & 0xFF0000) | aValue << 24;
}

std::optional<LinkPayload> SkipLoopbackHeader(ByteView aFrame) {
    if (aFrame.size() < LOOPBACK_HEADER_SIZE)
        return std::nullopt;
    const uint32_t lFamily = ReadU32(aFrame.data());
    return LinkPayload{TypeOfFamily(std::min(lFamily, Swapped(lFamily))), aFrame.subspan(LOOPBACK_HEADER_SIZE)};
}

std::optional<LinkPayload> RawPacket(ByteView aFrame) {
    if (aFrame.empty())
        return std::nullopt;
    const unsigned lVersion = aFrame[0] >> 4;
    return LinkPayload{lVersion == 4 ? TYPE_IPV4 : lVersion == 6 ? TYPE_IPV6 : 0, aFrame};
}

std::optional<LinkPayload> SkipLinkHeader(ByteView aFrame, LinkType aLinkType) {
    switch (aLinkType) {
        case LinkType::ETHERNET:
            return SkipHeader(aFrame, 12, 14);
        case LinkType::LINUX_COOKED:
            return SkipHeader(aFrame, 14, 16);
        case LinkType::LINUX_COOKED_2:
            return SkipHeader(aFrame, 0, 20);
        case LinkType::BSD_LOOPBACK:
            return SkipLoopbackHeader(aFrame);
        case LinkType::RAW_IP:
            break;
    }
    return RawPacket(aFrame);
}

bool IsSoundFragment(const IPv4Packet& aPacket, size_t aSize) {
    if (!aPacket.IsFragment())
        return true;
    return aSize > 0 && (!aPacket.mMore || aSize % IPV4_BLOCK == 0) && aPacket.mOffset + aSize <= IPV4_MAX_PAYLOAD;
}

FrameContent ParseIPv4(ByteView aBytes, IPv4Packet* apPacket) {
    if (aBytes.size() < IPV4_HEADER_SIZE)
        return FrameContent::SHORT;
    const size_t lHeaderSize = size_t{4} * (aBytes[0] & 0x0F);
    const size_t lTotalSize = ReadU16(&aBytes[2]);
    if (aBytes[0] >> 4 != 4 || lHeaderSize < IPV4_HEADER_SIZE || lTotalSize < lHeaderSize)
        return FrameContent::DAMAGED;
    if (aBytes[9] != PROTOCOL_UDP)
        return FrameContent::OTHER;
    if (aBytes.size() < lHeaderSize)
        return FrameContent::SHORT;
    const unsigned lFragment = ReadU16(&aBytes[6]);
    IPv4Packet lPacket;
    lPacket.mSource = ReadU32(&aBytes[12]);
    lPacket.mDestination = ReadU32(&aBytes[16]);
    lPacket.mId = ReadU16(&aBytes[4]);
    lPacket.mMore = (lFragment & MORE_FRAGMENTS) != 0;
    lPacket.mOffset = (lFragment & OFFSET_MASK) * IPV4_BLOCK;
    if (!IsSoundFragment(lPacket, lTotalSize - lHeaderSize))
        return FrameContent::DAMAGED;
    // What stands behind the packet fills the frame up to the least length.
    lPacket.mPayload = aBytes.first(std::min(lTotalSize, aBytes.size())).subspan(lHeaderSize);
    *apPacket = lPacket;
    return lTotalSize <= aBytes.size() ? FrameContent::UDP : FrameContent::SHORT;
}

}  // namespace

FrameContent ParseFrame(ByteView aFrame, LinkType aLinkType, IPv4Packet* apPacket) {
    *apPacket = {};
    const auto lPayload = SkipLinkHeader(aFrame, aLinkType);
    if (!lPayload)
        return FrameContent::SHORT;
    if (lPayload->mType == TYPE_IPV6)
        return FrameContent::IPV6;
    return lPayload->mType == TYPE_IPV4 ? ParseIPv4(lPayload->mBytes, apPacket) : FrameContent::OTHER;
}

bool ParseUdp(ByteView aBytes, UdpDatagram* apDatagram) {
    *apDatagram = {};
    if (aBytes.size() < UDP_HEADER_SIZE)
        return false;
    apDatagram->mSourcePort = ReadU16(&aBytes[0]);
    apDatagram->mDestinationPort = ReadU16(&aBytes[2]);
    const size_t lSize = ReadU16(&aBytes[4]);
    if (lSize < UDP_HEADER_SIZE || lSize > aBytes.size())
        return false;
    apDatagram->mData = aBytes.first(lSize).subspan(UDP_HEADER_SIZE);
    return true;
}
