#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Networking/ByteOrder.h"

// TAG items (ETSI TS 102 821, TAG layer), of which TAG packets and recordings are made:
//
//   | name: 4 characters | length of the value in bits: 4 bytes, most significant first | value, to whole bytes |

constexpr uint32_t TAG_NAME_SIZE = 4;
constexpr uint32_t TAG_ITEM_HEADER_SIZE = 8;

// A view of an item in memory that somebody else owns.
struct TagItemView {
    const unsigned char* mName = nullptr;  // TAG_NAME_SIZE characters without a terminator
    uint32_t mBits = 0;                    // length of the value in bits
    const unsigned char* mValue = nullptr;
    size_t mValueSize = 0;  // length of the value in bytes: the bits rounded up

    bool IsNamed(const char* apName) const { return std::memcmp(mName, apName, TAG_NAME_SIZE) == 0; }
    size_t GetSize() const { return TAG_ITEM_HEADER_SIZE + mValueSize; }  // in bytes, with the header
};

// Both are inline, because every unit's items are walked several times.

// Makes *apItem view the item at the front of aSize bytes, of which only the header needs to be there: the value may be
// cut off or missing, so mValue must not be read beyond the aSize bytes.  Returns false, with *apItem unchanged, when
// the header is not wholly there.
inline bool ParseTagItemHeader(const unsigned char* apBytes, size_t aSize, TagItemView* apItem) {
    if (aSize < TAG_ITEM_HEADER_SIZE)
        return false;
    apItem->mName = apBytes;
    apItem->mBits = ReadU32(apBytes + TAG_NAME_SIZE);
    apItem->mValue = apBytes + TAG_ITEM_HEADER_SIZE;
    apItem->mValueSize = BytesOfBits(apItem->mBits);
    return true;
}

// The same, but false too when the value is not wholly there.
inline bool ParseTagItem(const unsigned char* apBytes, size_t aSize, TagItemView* apItem) {
    TagItemView lItem;
    if (!ParseTagItemHeader(apBytes, aSize, &lItem) || lItem.mValueSize > aSize - TAG_ITEM_HEADER_SIZE)
        return false;
    *apItem = lItem;
    return true;
}

// Writes an item's header (TAG_ITEM_HEADER_SIZE bytes) and returns the place behind it.
unsigned char* WriteTagItemHeader(unsigned char* apWhere, const char* apName, uint32_t aBits);
