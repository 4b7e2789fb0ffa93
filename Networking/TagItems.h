#pragma once

#include <cstddef>
#include <cstdint>

// TAG items (ETSI TS 102 821, TAG layer), of which TAG packets and recordings are made:
//
//   | name: 4 characters | length of the value in bits: 4 bytes, most significant first | value, to whole bytes |

constexpr uint32_t TAG_NAME_SIZE = 4;
constexpr uint32_t TAG_ITEM_HEADER_SIZE = 8;

// An item in memory that somebody else owns.
struct TagItemView {
    const unsigned char* mName = nullptr;  // TAG_NAME_SIZE characters without a terminator
    uint32_t mBits = 0;                    // of the value
    const unsigned char* mValue = nullptr;
    size_t mValueSize = 0;  // bytes: the bits rounded up

    bool IsNamed(const char* apName) const;
    size_t GetSize() const { return TAG_ITEM_HEADER_SIZE + mValueSize; }  // with the header
};

// The item at the front of aSize bytes.  False, with *apItem unchanged, when header and value are not wholly there.
bool ParseTagItem(const unsigned char* apBytes, size_t aSize, TagItemView* apItem);

// The same of the header alone: the value may be cut off or be missing, and mValue may not be read beyond aSize.
bool ParseTagItemHeader(const unsigned char* apBytes, size_t aSize, TagItemView* apItem);

// Writes an item's header, TAG_ITEM_HEADER_SIZE bytes, and returns the place behind it.
unsigned char* WriteTagItemHeader(unsigned char* apWhere, const char* apName, uint32_t aBits);
