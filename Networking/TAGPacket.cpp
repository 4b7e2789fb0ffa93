#include "Networking/TAGPacket.h"

#include <cstring>

#include "Networking/ByteOrder.h"

namespace {

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
    TagItemView lItem;
    for (size_t lOffset = 0; lOffset < lSize; lOffset += lItem.GetSize()) {
        if (!ParseTagItem(cData + lOffset, lSize - lOffset, &lItem))
            return 0;
        if (!lItem.IsNamed("*ptr"))
            continue;
        if (lSize - lOffset < TAG_ITEM_HEADER_SIZE + PROTOCOL_SIZE)
            return 0;
        if (cPayloadProtocol != nullptr)
            std::memcpy(cPayloadProtocol, lItem.mValue, PROTOCOL_SIZE);
    }
    return 1;
}

uint32_t TAGPacket::WriteFirstItem(const TagItem* apItem) {
    cWritePosition = cData;
    return WriteItem(apItem);
}

uint32_t TAGPacket::WriteItem(const TagItem* apItem) {
    unsigned char lHeader[TAG_ITEM_HEADER_SIZE];
    std::memcpy(lHeader, apItem->mName, TAG_NAME_SIZE);
    std::memcpy(lHeader + TAG_NAME_SIZE, &apItem->mLength, sizeof apItem->mLength);
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
    std::memcpy(apItem->mName, lHeader, TAG_NAME_SIZE);
    apItem->SetBits(ReadU32(lHeader + TAG_NAME_SIZE));
    return apItem->mValueLength == 0 || Read(apItem->mValueLength, apItem->mValue) != 0;
}

uint32_t TAGPacket::FindItem(const char* apName, unsigned char** appWhere) const {
    *appWhere = nullptr;
    TagItemView lItem;
    for (size_t lOffset = 0; ParseTagItem(cData + lOffset, ValidBytes() - lOffset, &lItem);
         lOffset += lItem.GetSize()) {
        if (lItem.IsNamed(apName)) {
            *appWhere = cData + lOffset;
            return 1;
        }
    }
    return 0;
}
