#include "Networking/TagItems.h"

#include <cstring>

#include "Networking/ByteOrder.h"

bool TagItemView::IsNamed(const char* apName) const {
    return std::memcmp(mName, apName, TAG_NAME_SIZE) == 0;
}

bool ParseTagItemHeader(const unsigned char* apBytes, size_t aSize, TagItemView* apItem) {
    if (aSize < TAG_ITEM_HEADER_SIZE)
        return false;
    apItem->mName = apBytes;
    apItem->mBits = ReadU32(apBytes + TAG_NAME_SIZE);
    apItem->mValue = apBytes + TAG_ITEM_HEADER_SIZE;
    apItem->mValueSize = BytesOfBits(apItem->mBits);
    return true;
}

bool ParseTagItem(const unsigned char* apBytes, size_t aSize, TagItemView* apItem) {
    TagItemView lItem;
    if (!ParseTagItemHeader(apBytes, aSize, &lItem) || lItem.mValueSize > aSize - TAG_ITEM_HEADER_SIZE)
        return false;
    *apItem = lItem;
    return true;
}

unsigned char* WriteTagItemHeader(unsigned char* apWhere, const char* apName, uint32_t aBits) {
    std::memcpy(apWhere, apName, TAG_NAME_SIZE);
    WriteU32(apWhere + TAG_NAME_SIZE, aBits);
    return apWhere + TAG_ITEM_HEADER_SIZE;
}
