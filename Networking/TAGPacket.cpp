#include "Networking/TAGPacket.h"

#include <cstring>

#include "Networking/ByteOrder.h"

namespace {

constexpr uint32_t NAME_SIZE = 4;
constexpr uint32_t PROTOCOL_SIZE = 4;

}  // namespace

void TagItem::SetBits(uint32_t aBits) {
    unsigned char lBytes[sizeof mLength];
    WriteU32(lBytes, aBits);
    std::memcpy(&mLength, lBytes, sizeof mLength);
    mValueLength = BytesOfBits(aBits);
}

uint32_t TagItem::GetBits() const {
    unsigned char lBytes[sizeof mLength];
    std::memcpy(lBytes, &mLength, sizeof mLength);
    return ReadU32(lBytes);
}

TAGPacket::TAGPacket(uint32_t aCapacity) : Packet(aCapacity) {
    cProtocol = "T";
    cPayload = cData;
}

uint32_t TAGPacket::Parse() {
    const uint32_t lSize = ValidBytes();
    cPayload = cData;
    cPayloadSize = lSize;
    uint32_t lOffset = 0;
    while (lOffset < lSize) {
        const uint32_t lItemSize = ItemSize(lOffset);
        if (lItemSize == 0)
            return 0;
        const unsigned char* lpItem = cData + lOffset;
        if (std::memcmp(lpItem, "*ptr", NAME_SIZE) == 0) {
            if (lSize - lOffset < TAG_ITEM_HEADER_SIZE + PROTOCOL_SIZE)
                return 0;
            if (cPayloadProtocol != nullptr)
                std::memcpy(cPayloadProtocol, lpItem + TAG_ITEM_HEADER_SIZE, PROTOCOL_SIZE);
        }
        lOffset += lItemSize;
    }
    return 1;
}

uint32_t TAGPacket::WriteFirstItem(const TagItem* apItem) {
    cWritePosition = cData;
    return WriteItem(apItem);
}

uint32_t TAGPacket::WriteItem(const TagItem* apItem) {
    unsigned char lHeader[TAG_ITEM_HEADER_SIZE];
    std::memcpy(lHeader, apItem->mName, NAME_SIZE);
    std::memcpy(lHeader + NAME_SIZE, &apItem->mLength, sizeof apItem->mLength);
    return Write(TAG_ITEM_HEADER_SIZE, lHeader) != 0 && Write(apItem->mValueLength, apItem->mValue) != 0;
}

uint32_t TAGPacket::ReadFirstItem(TagItem* apItem) {
    cReadPosition = cData;
    return ReadItem(apItem);
}

uint32_t TAGPacket::ReadItem(TagItem* apItem) {
    unsigned char lHeader[TAG_ITEM_HEADER_SIZE];
    if (Read(TAG_ITEM_HEADER_SIZE, lHeader) == 0)
        return 0;
    std::memcpy(apItem->mName, lHeader, NAME_SIZE);
    apItem->SetBits(ReadU32(lHeader + NAME_SIZE));
    return apItem->mValueLength == 0 || Read(apItem->mValueLength, apItem->mValue) != 0;
}

uint32_t TAGPacket::FindItem(const char* apName, unsigned char** appWhere) const {
    *appWhere = nullptr;
    uint32_t lOffset = 0;
    for (uint32_t lItemSize = ItemSize(lOffset); lItemSize != 0; lItemSize = ItemSize(lOffset)) {
        if (std::memcmp(cData + lOffset, apName, NAME_SIZE) == 0) {
            *appWhere = cData + lOffset;
            return 1;
        }
        lOffset += lItemSize;
    }
    return 0;
}

// Header and value of the item that begins aOffset bytes from the start; 0 when they are not wholly inside the packet.
uint32_t TAGPacket::ItemSize(uint32_t aOffset) const {
    const uint32_t lLeft = ValidBytes() - aOffset;
    if (lLeft < TAG_ITEM_HEADER_SIZE)
        return 0;
    const uint32_t lValueSize = BytesOfBits(ReadU32(cData + aOffset + NAME_SIZE));
    return lValueSize <= lLeft - TAG_ITEM_HEADER_SIZE ? TAG_ITEM_HEADER_SIZE + lValueSize : 0;
}
