#pragma once

#include <cstdint>

#include "Networking/AFFormat.h"
#include "Networking/Packet.h"

// An AF packet (AFFormat.h) as a Packet.
//
// To send: construct with AF_OVERHEAD + payload bytes, SetCRCEngine, WritePayload, point cPayloadProtocol at the name
// whose first character is PT, SetHeader, SetCRC.  To receive: construct with 0, point cPayloadProtocol at two
// characters, the second NUL, SetCRCEngine, Share, Parse.  Packets longer than AF_MAX_SIZE are refused both ways.
class AFPacket : public Packet {
public:
    AFPacket(uint32_t aCapacity, uint8_t aMajorVersion, uint8_t aMinorVersion);  // versions 0 to 7 and 0 to 15

    void SetCRCEngine(const CRC16* apEngine) { cpcEngine = apEngine; }  // must outlive the packet

    // Fill in the header for the payload in place, and the CRC over both.  0 with PACKET_WRITE_OVERFLOW when the
    // capacity is too small for it or the packet longer than AF_MAX_SIZE; without an engine SetCRC(true) is 0.
    uint32_t SetHeader(uint16_t aSequence, bool aCRCFlag);
    uint32_t SetCRC(bool aCRCFlag);

    // 1 for a valid packet of the same major version (the minor one may differ): cSize is then its size without what
    // follows it, the payload view is set and PT written to cPayloadProtocol, unless that is null.
    // 0 changes none of these; with PACKET_READ_OVERFLOW when the packet is cut short.  0 too without an engine for a
    // packet that has a CRC.
    uint32_t Parse() override;
    uint16_t GetSequence() const { return cHeader.mSequence; }  // of SetHeader or the header last parsed

private:
    AFHeader cHeader;
    const uint8_t cMajorVersion;
    const uint8_t cMinorVersion;
    const CRC16* cpcEngine = nullptr;
};
