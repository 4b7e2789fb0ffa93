#pragma once

#include <cstdint>
#include <memory>

#include "Networking/StatusCodes.h"

// The byte buffer that every DCP and MDI unit travels in: valid bytes at the front of a buffer, a write and a read
// position that move independently, and a payload view that a subclass lays over the part it carries for the layer
// above.
//
//   cData          cPayload                    cData + cSize        cData + cCapacity
//   | header       | cPayloadSize bytes | trailer |    free            |
//
// A packet owns its buffer, or it views bytes of another packet (Share, SharePayload) and must not be used once these
// are gone.  Protocol names are never freed by a packet and must outlive it.  One thread at a time.
//
// Results are 1 or 0.  GetError gives the code of the last write (PACKET_WRITE_OVERFLOW) or read (PACKET_READ_OVERFLOW)
// that did not fit.
class Packet {
public:
    // aCapacity bytes, not cleared and owned; 0 makes a packet without a buffer, which may then view.
    explicit Packet(uint32_t aCapacity);
    // Of an owner: an owner of its own copy of all cCapacity bytes, the payload view at the same place in it.  Of a
    // viewing packet: another view of the same bytes.  Either starts at its first byte and without an error.
    Packet(const Packet& aOther);
    Packet& operator=(const Packet&) = delete;
    virtual ~Packet() = default;

    // Checks and decodes the bytes: 1 valid, 0 not.  A plain packet is always valid.
    virtual uint32_t Parse() { return 1; }

    // Append at the write position; what goes beyond the capacity is cut.  1, or 0 with PACKET_WRITE_OVERFLOW when cut.
    // cSize grows by the bytes copied, whatever it was: refill a packet with Rewind and SetSize(0).
    uint32_t Write(uint32_t aLength, const unsigned char* apBytes);
    // The same at cPayload: cPayloadSize becomes the bytes copied, cSize grows by them, the write position stays.
    uint32_t WritePayload(uint32_t aLength, const unsigned char* apBytes);
    // Take from the read position; 1, or 0 with PACKET_READ_OVERFLOW when fewer valid bytes were left (those are
    // copied).
    uint32_t Read(uint32_t aLength, unsigned char* apOut);
    // The payload view's bytes that lie inside of the buffer, at most cPayloadSize; apOut must have the room. Always 1.
    uint32_t ReadPayload(unsigned char* apOut) const;
    void Rewind();  // both positions to the first byte; cSize stays

    // Make this packet, built with capacity 0, view the bytes of apOther or of its payload, with their size and
    // protocol name.  Reading starts at the first byte; a view is full, so that nothing is appended to it.  Null does
    // nothing.
    void Share(const Packet* apOther);
    void SharePayload(const Packet* apOther);

    uint32_t GetSize() const { return cSize; }
    void SetSize(uint32_t aSize) { cSize = aSize; }
    uint32_t GetError();  // clears it

    // cSize is anybody's to set; the bytes that are really there.
    uint32_t ValidBytes() const { return cSize < cCapacity ? cSize : cCapacity; }

    unsigned char* cData;     // null without a buffer
    const char* cProtocol;    // "T", "AF", "PF", or null
    uint32_t cSize;           // valid bytes
    unsigned char* cPayload;  // null in a plain packet
    char* cPayloadProtocol;   // see the subclasses for who writes into it
    uint32_t cPayloadSize;
    uint32_t cCapacity;
    unsigned char* cWritePosition;
    unsigned char* cReadPosition;
    uint32_t cError;
    bool cOwner;  // the packet has a buffer of its own

protected:
    // How far apPlace lies behind cData; cCapacity for a place outside of the buffer.
    uint32_t OffsetOf(const unsigned char* apPlace) const;
    // Lays the payload view aOffset behind cData, at the end of a buffer that is shorter.
    void MovePayload(uint32_t aOffset);
    // Overwrites bytes in place, wholly or not at all (0 with PACKET_WRITE_OVERFLOW).  Moves nothing.
    uint32_t WriteAt(uint32_t aOffset, uint32_t aLength, const unsigned char* apBytes);

private:
    uint32_t PayloadBytes() const;  // the part of the payload view that lies inside of the buffer
    uint32_t CopyIn(unsigned char* apPlace, uint32_t aLength, const unsigned char* apBytes);
    void View(unsigned char* apBytes, uint32_t aSize, uint32_t aCapacity, const char* apProtocol);

    std::unique_ptr<unsigned char[]> cBuffer;
};
