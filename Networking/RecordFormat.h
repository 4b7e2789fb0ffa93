#pragma once

#include <cstddef>
#include <cstdint>

// The MDI recording file: a sequence of records without a file header, each one TAG item that wraps a DCP packet.
//
//   offset  size  content
//        0     4  "fio_"
//        4     4  length of the rest in bits
//        8     4  "time"   }
//       12     4  64       }  optional
//       16     4  seconds  }
//       20     4  nanoseconds within the second }
//       24     4  "afpf"                         (at 8 without the time item)
//       28     4  length of the packet in bits   (at 12)
//       32        the AF packet or PFT fragment  (at 16)
//
// Numbers are unsigned, most significant byte first.

constexpr size_t RECORD_HEADER_SIZE = 32;
constexpr size_t RECORD_SHORT_HEADER_SIZE = 16;  // without the time item

struct RecordTime {
    uint32_t mSeconds;
    uint32_t mNanoseconds;
};

// Writes the header of a record with a packet of aPacketSize bytes (below 512 MiB); without the time item when apTime
// is null.  apHeader has room for RECORD_HEADER_SIZE bytes.  Returns the bytes written.
size_t WriteRecordHeader(unsigned char* apHeader, uint32_t aPacketSize, const RecordTime* apTime);

// What stands at the beginning of a record.
struct RecordHeader {
    bool mHasPacket = false;   // it is a record of either form; else it is to be skipped
    uint64_t mHeaderSize = 0;  // bytes before the packet, or of the whole item that is to be skipped
    uint64_t mPacketSize = 0;  // bytes; 0 without a packet.  Nothing says that they are there.
};

// Reads the RECORD_HEADER_SIZE bytes at the start of a record, be it of the short form or none at all.
RecordHeader ParseRecordHeader(const unsigned char* apBytes);
