#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Networking/CRC16.h"
#include "Networking/Packet.h"

// Wraps TAG packets into DCP packets (ETSI TS 102 821) and these into the records of a recording, frame by frame.
class RecordingWriter {
public:
    struct Format {
        bool mPft = false;
        uint32_t mFragmentSize = 512;  // bytes of AF packet in a PFT fragment, which FILE_MAX_PACKET_SIZE limits
        bool mTime = true;             // records have a time stamp
        uint32_t mFirstSequence = 0;   // number of the first AF packet, and PSeq of its fragments; 16 bits
    };

    explicit RecordingWriter(const Format& aFormat) : cFormat(aFormat), cCRC(CRC16_POLYNOMIAL, true) {}

    // Makes the records of the next frame of 400 ms.  False, with the reason in *apError, when receivers could not put
    // the frame's fragments together again or find them.
    bool AddFrame(const Packet& aTagPacket, std::string* apError);

    // The records of the last frame.
    const std::vector<unsigned char>& GetBytes() const { return cBytes; }

private:
    bool Cut(const Packet& aAFPacket, std::string* apError);
    void AddRecord(const Packet& aPacket);

    const Format cFormat;
    const CRC16 cCRC;
    uint32_t cFrames = 0;
    std::vector<unsigned char> cBytes;
};
