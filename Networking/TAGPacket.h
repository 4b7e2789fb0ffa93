#pragma once

#include <cstdint>

#include "Networking/Packet.h"
#include "Networking/TagItems.h"

// One item of a TAG packet in memory.
struct TagItem {
    char mName[4];          // four characters without a terminator
    uint32_t mLength;       // length of the value in bits, in network byte order
    uint32_t mValueLength;  // length of the value in bytes: the bits rounded up
    unsigned char* mValue;  // owned by the caller; WriteItem only reads it

    void SetBits(uint32_t aBits);  // sets both lengths; aBits is in host byte order
    uint32_t GetBits() const;      // returns mLength in host byte order
};

// A packet made of TAG items (TagItems.h), without a header, an item count, padding or a trailer.
//
// cProtocol is "T".  Parse writes to cPayloadProtocol, which the packet's owner points at five characters, the fifth of
// them NUL, or leaves null.
class TAGPacket : public Packet {
public:
    explicit TAGPacket(uint32_t aCapacity);

    // Returns 1 when the items end exactly at the end of the valid bytes, as in an empty packet; else 0.  In both cases
    // the first four value bytes of the last "*ptr" item found go to cPayloadProtocol and the payload view is the whole
    // packet.
    uint32_t Parse() override;

    // Append an item; WriteFirstItem writes it to the start of the buffer.  Return 1; 0 with PACKET_WRITE_OVERFLOW when
    // the item was cut off, which leaves a packet of no use.
    uint32_t WriteFirstItem(const TagItem* apItem);
    uint32_t WriteItem(const TagItem* apItem);
    // Read the next item, or the first one, and copy its value to apItem->mValue, which must have room for as many
    // bytes as the packet holds.  Return 1; 0 with PACKET_READ_OVERFLOW when the item is not wholly there.
    uint32_t ReadFirstItem(TagItem* apItem);
    uint32_t ReadItem(TagItem* apItem);

    // Looks for the first item named apName (four characters).  Returns 1 with its place in *appWhere, where header and
    // value are wholly inside the packet; 0, with null there, when the search ends at an item that is cut off or at the
    // end of the packet.
    uint32_t FindItem(const char* apName, unsigned char** appWhere) const;
};
