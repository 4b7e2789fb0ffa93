#pragma once

#include <cstdint>

#include "Networking/AFFormat.h"
#include "Networking/Packet.h"

// A Packet that holds an AF packet (AFFormat.h).
//
// To send, construct it with AF_OVERHEAD + payload bytes, call SetCRCEngine and WritePayload, point cPayloadProtocol at
// a name whose first character is PT, and call SetHeader and SetCRC.  To receive, construct it with 0, point
// cPayloadProtocol at two characters, the second NUL, and call SetCRCEngine, Share and Parse.  Packets longer than
// AF_MAX_SIZE are refused in both directions.
class AFPacket : public Packet {
public:
    AFPacket(uint32_t aCapacity, uint8_t aMajorVersion, uint8_t aMinorVersion);  // versions 0 to 7 and 0 to 15

    void SetCRCEngine(const CRC16* apEngine) { cpcEngine = apEngine; }  // must outlive the packet

    // Write the header of the payload that was written, and then the CRC over both.  Return 1; 0 with
    // PACKET_WRITE_OVERFLOW when the capacity is too small, or in SetCRC when the packet is longer than AF_MAX_SIZE.
    // SetCRC(true) returns 0 without a code when there is no engine.
    uint32_t SetHeader(uint16_t aSequence, bool aCRCFlag);
    uint32_t SetCRC(bool aCRCFlag);

    // Returns 1 for a valid packet of the same major version (the minor version may differ): cSize becomes its size
    // without the bytes behind it, the payload view is set, and PT is written to cPayloadProtocol unless that is null.
    // Returns 0, and changes none of these, for any other packet and, without an engine, for a packet that has a CRC;
    // the code is PACKET_READ_OVERFLOW when the packet is cut short.
    uint32_t Parse() override;
    uint32_t ParseSound();  // the same for a packet whose CRC has been checked already
    uint16_t GetSequence() const { return cHeader.mSequence; }  // of the header last set or parsed

private:
    uint32_t Take(AFCheck aCheck);

    AFHeader cHeader;
    const uint8_t cMajorVersion;
    const uint8_t cMinorVersion;
    const CRC16* cpcEngine = nullptr;
};
