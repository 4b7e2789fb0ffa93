#pragma once

#include <atomic>
#include <cstdint>

#include "Networking/PFTFormat.h"
#include "Networking/Packet.h"

// A Packet that holds a PFT fragment (PFTFormat.h).
//
// To send, construct it with the size of header and payload, call SetRSParameters and SetAddresses as needed, then
// WritePayload and SetHeader.  To receive, construct it with 0 and call Share and Parse.
class PFTPacket : public Packet {
public:
    explicit PFTPacket(uint32_t aCapacity);

    // Must be called before WritePayload, because the first call of each makes room for its field in the header.
    void SetRSParameters(uint8_t aRSk, uint8_t aRSz);
    void SetAddresses(uint16_t aSource, uint16_t aDestination);
    // Writes the header, HCRC included, in front of the payload and moves the write position to the payload.  24 bits
    // of aFindex and aFcount and 14 bits of cPayloadSize count.  Returns 1; 0 with PACKET_WRITE_OVERFLOW when the
    // capacity is too small for the header.
    uint32_t SetHeader(uint16_t aPSeq, uint32_t aFindex, uint32_t aFcount);
    // Writes the HCRC of all bytes before the write position there and moves the position behind it.  Returns 1; 0 with
    // PACKET_WRITE_OVERFLOW.
    uint32_t SetCRC();

    // Returns 1, with the payload view set, when the header is valid and all of its payload follows; else 0, with the
    // payload view unchanged, and with PACKET_READ_OVERFLOW when the header is cut short.
    uint32_t Parse() override;

    // Return a field of the header last set or parsed.
    uint16_t GetPSeq() const { return cHeader.mPSeq; }
    uint32_t GetFindex() const { return cHeader.mFindex & 0xFFFFFF; }
    uint32_t GetFcount() const { return cHeader.mFcount & 0xFFFFFF; }
    uint8_t GetRSk() const { return cHeader.mRSk; }  // the following fields are 0 when the header has none
    uint8_t GetRSz() const { return cHeader.mRSz; }
    uint16_t GetSource() const { return cHeader.mSource; }
    uint16_t GetDestination() const { return cHeader.mDestination; }
    bool GetFEC() const { return ciFEC; }

    // Returns the engine for HCRC.  It lasts as long as the process, so that no fragment on any thread can outlive it.
    static const CRC16* SharedEngine();

    bool ciFEC = false;         // the header has RSk and RSz
    bool ciAddressing = false;  // the header has Source and Dest

    // The engine with which all fragments compute HCRC.  Null means SharedEngine(), which the constructor of a fragment
    // then stores here.  May be replaced, but only by an engine that is never freed: fragments on all threads use it.
    static std::atomic<const CRC16*> spcCRCEngine;

private:
    static const CRC16* Engine();
    void Reserve(bool* apField, uint32_t aSize);

    PFTHeader cHeader;
};
