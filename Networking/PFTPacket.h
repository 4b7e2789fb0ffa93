#pragma once

#include <atomic>
#include <cstdint>

#include "Networking/CRC16.h"
#include "Networking/Packet.h"

constexpr uint32_t PFT_FIXED_SIZE = 12;                              // "PF" to Plen
constexpr uint32_t PFT_RS_SIZE = 2;                                  // RSk and RSz
constexpr uint32_t PFT_ADDRESS_SIZE = 4;                             // Source and Dest
constexpr uint32_t PFT_CRC_SIZE = 2;                                 // HCRC
constexpr uint32_t PFT_HEADER_SIZE = PFT_FIXED_SIZE + PFT_CRC_SIZE;  // without the optional fields
constexpr uint32_t PFT_MAX_PAYLOAD = 0x3FFF;
constexpr uint32_t PFT_MAX_RSK = 207;

// One fragment of protection, fragmentation and transport (ETSI TS 102 821, PFT layer); numbers are most significant
// byte first:
//
//   bytes  field
//   2      "PF"
//   2      PSeq, sequence number of the packet that the fragment is a piece of
//   3      Findex, which piece, from 0
//   3      Fcount, number of pieces
//   2      bit 15 FEC, bit 14 Addr, bits 13 to 0 Plen, bytes of payload
//   1 + 1  with FEC only: RSk, data bytes per Reed-Solomon block; RSz, zero bytes that fill up the last block
//   2 + 2  with Addr only: Source and Dest address
//   2      HCRC, CRC-16 of all before it
//   Plen   payload
//
// To send: construct with the size of header and payload, SetRSParameters and SetAddresses as needed, WritePayload,
// SetHeader.  To receive: construct with 0, Share, Parse.
class PFTPacket : public Packet {
public:
    explicit PFTPacket(uint32_t aCapacity);

    // Each reserves its header field the first time, so both come before WritePayload.
    void SetRSParameters(uint8_t aRSk, uint8_t aRSz);
    void SetAddresses(uint16_t aSource, uint16_t aDestination);
    // Writes the header, HCRC included, in front of the payload; the write position is then at the payload.
    // 24 bits of aFindex and aFcount and 14 bits of cPayloadSize count.  0 with PACKET_WRITE_OVERFLOW when the capacity
    // is too small for it.
    uint32_t SetHeader(uint16_t aPSeq, uint32_t aFindex, uint32_t aFcount);
    // The HCRC of all up to the write position, written there.
    uint32_t SetCRC();

    // 1 for a header with Findex below Fcount, RSk up to PFT_MAX_RSK (0 too) and the right HCRC, with all of its
    // payload behind it; the payload view is set.  0 otherwise, with PACKET_READ_OVERFLOW when the header is cut short;
    // the payload view stays.
    uint32_t Parse() override;

    // Of SetHeader or the header last parsed.
    uint16_t GetPSeq() const;
    uint32_t GetFindex() const;
    uint32_t GetFcount() const;
    uint8_t GetRSk() const { return ciFEC ? cHeader[PFT_FIXED_SIZE] : uint8_t{0}; }
    uint8_t GetRSz() const { return ciFEC ? cHeader[PFT_FIXED_SIZE + 1] : uint8_t{0}; }
    uint16_t GetSource() const;       // 0 without addresses
    uint16_t GetDestination() const;  // 0 without addresses
    bool GetFEC() const { return ciFEC; }

    // The engine for HCRC that lasts as long as the process, so that no fragment of any thread can outlive it.
    static const CRC16* SharedEngine();

    bool ciFEC;         // RSk and RSz are there
    bool ciAddressing;  // Source and Dest are there

    // What all fragments compute HCRC with.  The first fragment built sets it to SharedEngine(), and so should whoever
    // sets it: an engine set here may be used by any thread until the process ends.  Null means SharedEngine().
    static std::atomic<const CRC16*> spcCRCEngine;

private:
    static const CRC16* Engine();
    uint32_t HeaderSize() const;  // with HCRC

    // All fields in the order of the wire, the optional ones always in their places.
    unsigned char cHeader[PFT_FIXED_SIZE + PFT_RS_SIZE + PFT_ADDRESS_SIZE];
};
