#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Networking/CRC16.h"
#include "Networking/Packet.h"

// What a player of recordings takes.
constexpr size_t MAX_RECORDING_SIZE = 0x80000;
constexpr uint32_t MAX_RECORD_PACKET_SIZE = 4968;
constexpr uint32_t MAX_FRAGMENTS = 80;  // of one AF packet

// Wraps TAG packets into DCP packets (ETSI TS 102 821) and these into the records of a recording in memory.
class RecordingWriter {
public:
    struct Format {
        bool mPft = false;
        uint32_t mFragmentSize = 512;  // bytes of AF packet in a PFT fragment; 1 to the room in MAX_RECORD_PACKET_SIZE
        bool mTime = true;             // records have the time item
        uint16_t mFirstSequence = 0;   // of the AF packets and of PSeq
    };

    explicit RecordingWriter(const Format& aFormat) : cFormat(aFormat), cCRC(CRC16_POLYNOMIAL, true) {}

    // Appends a frame of 400 ms.  False, with nothing appended and the reason in *apError, when a player would not take
    // the recording any more.
    bool AddFrame(const Packet& aTagPacket, std::string* apError);

    const std::vector<unsigned char>& GetBytes() const { return cBytes; }

private:
    bool Cut(const Packet& aAFPacket, std::string* apError);
    void AddRecord(const Packet& aPacket);

    const Format cFormat;
    const CRC16 cCRC;
    uint32_t cFrames = 0;
    std::vector<unsigned char> cBytes;
};
