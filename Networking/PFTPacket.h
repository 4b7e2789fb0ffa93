#pragma once

#include <atomic>
#include <cstdint>

#include "Networking/PFTFormat.h"
#include "Networking/Packet.h"

// A PFT fragment (PFTFormat.h) as a Packet.
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

    // 1 for a valid header with all of its payload behind it; the payload view is set.  0 otherwise, with
    // PACKET_READ_OVERFLOW when the header is cut short; the payload view stays.
    uint32_t Parse() override;

    // Of SetHeader or the header last parsed.
    uint16_t GetPSeq() const { return cHeader.mPSeq; }
    uint32_t GetFindex() const { return cHeader.mFindex & 0xFFFFFF; }
    uint32_t GetFcount() const { return cHeader.mFcount & 0xFFFFFF; }
    uint8_t GetRSk() const { return cHeader.mRSk; }  // this and the next three: 0 where the field is not there
    uint8_t GetRSz() const { return cHeader.mRSz; }
    uint16_t GetSource() const { return cHeader.mSource; }
    uint16_t GetDestination() const { return cHeader.mDestination; }
    bool GetFEC() const { return ciFEC; }

    // The engine for HCRC that lasts as long as the process, so that no fragment of any thread can outlive it.
    static const CRC16* SharedEngine();

    bool ciFEC = false;         // RSk and RSz are there
    bool ciAddressing = false;  // Source and Dest are there

    // What all fragments compute HCRC with; null means SharedEngine(), which the first fragment built sets.  May be
    // replaced, but only by an engine that is never freed: fragments of all threads use it.
    static std::atomic<const CRC16*> spcCRCEngine;

private:
    static const CRC16* Engine();
    void Reserve(bool* apField, uint32_t aSize);

    PFTHeader cHeader;
};
