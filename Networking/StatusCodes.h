#pragma once

#include <cstdint>

// The status codes of packets, layers and endpoints share one numeric space.  An object keeps its last code until
// GetError fetches it; 0 means none.
enum DCPStatusCode : uint32_t {
    LAYER_TOO_MANY_TAGS = 1,          // the layer holds two tags already
    LAYER_TAG_NOT_REGISTERED = 2,     // the layer or endpoint does not take the packet's protocol
    PACKET_WRITE_OVERFLOW = 3,        // a write beyond the packet's capacity was cut
    PACKET_READ_OVERFLOW = 4,         // a read beyond the packet's valid bytes was cut
    DCP_INVALID_ADDRESS = 5,          // the text is not a DCP address
    DCP_TRANSPORT_NOT_SUPPORTED = 6,  // the address is well formed, but this build lacks its transport
    UDP_INVALID_PORT = 7,             // the port is below 1024
    UDP_INVALID_ADDRESS = 8,          // the text is longer than a dotted IPv4 address
    UDP_SOCKET_FAILED = 9,            // the socket could not be created, connected, bound or joined to its group
    FILE_OPEN_FAILED = 10,            // the recording could not be opened, is too long or was read short
    UDP_RECEIVE_FAILED = 11,          // receiving failed, other than by a time-out
    UDP_SEND_FAILED = 12,             // the datagram did not go out whole
    FILE_END = 13,                    // the recording has all its records, or no further whole one
    FILE_WRITE_FAILED = 14,           // a record could not be written
    MDI_WRONG_LENGTH = 17,            // an MDI item of fixed length has another length
    DCP_NOT_OPEN = 18,                // a protocol was enabled on an endpoint that is not open
    LAYER_PACKET_TOO_BIG = 19,        // the packet is larger than the layer's ciMaxPacketSize
    QUEUE_FULL = 24,                  // PacketQueue::Insert found no free slot
    QUEUE_EMPTY = 25,                 // PacketQueue::GetFirst found no entry
    MDI_ITEM_MISSING = 26,            // a required MDI item is missing
    MDI_DLFC_PRESENT = 27,            // this and the codes below: the unit has the setter's item already
    MDI_FAC_PRESENT = 28,
    MDI_SDC_PRESENT = 29,
    MDI_SDCI_PRESENT = 30,
    MDI_ROBM_PRESENT = 31,
    MDI_STREAM_PRESENT = 32,
    MDI_TIST_PRESENT = 33
};
