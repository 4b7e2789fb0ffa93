#pragma once

#include <cstdint>

#include "Networking/Packet.h"
#include "Networking/TagItems.h"

// One item of a TAG packet in memory.
struct TagItem {
    char mName[4];          // no terminator
    uint32_t mLength;       // of the value, in bits, in network byte order
    uint32_t mValueLength;  // in bytes: the bits rounded up
    unsigned char* mValue;  // the caller's; only read when an item is written

    void SetBits(uint32_t aBits);  // both lengths, from a number of the host
    uint32_t GetBits() const;      // mLength as a number of the host
};

// A sequence of TAG items (TagItems.h) without header, count, padding or trailer.
//
// cProtocol is "T".  For Parse the owner points cPayloadProtocol at five characters, the fifth NUL; null is allowed.
class TAGPacket : public Packet {
public:
    explicit TAGPacket(uint32_t aCapacity);

    // 1 when the items end exactly at the end of the valid bytes; an empty packet is fine.  The first four value bytes
    // of the last "*ptr" item go to cPayloadProtocol.  The payload view is the whole packet in any case.
    uint32_t Parse() override;

    // Append an item, the first one at the start of the buffer.  0 with PACKET_WRITE_OVERFLOW when it was cut; the
    // packet ends in a piece of an item then and is of no use.
    uint32_t WriteFirstItem(const TagItem* apItem);
    uint32_t WriteItem(const TagItem* apItem);
    // The next item, with its value at apItem->mValue, which must have room for as many bytes as the packet holds.
    // 0 with PACKET_READ_OVERFLOW when it is not wholly there.
    uint32_t ReadFirstItem(TagItem* apItem);
    uint32_t ReadItem(TagItem* apItem);

    // The first item named apName (four characters) to *appWhere: 1; its header and value are wholly inside the packet.
    // None before the end or before an item that is not: 0, null.
    uint32_t FindItem(const char* apName, unsigned char** appWhere) const;
};
