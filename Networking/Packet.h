#pragma once

#include <cstdint>
#include <memory>

#include "Networking/StatusCodes.h"

// The byte buffer in which every DCP and MDI unit travels.  The valid bytes lie at the front of the buffer; a write
// position and a read position move independently; a payload view covers the part that a subclass carries for the
// layer above.
//
//   cData          cPayload                    cData + cSize        cData + cCapacity
//   | header       | cPayloadSize bytes | trailer |    free            |
//
// A packet either owns its buffer or views bytes of another packet (Share, SharePayload).  A viewing packet must not be
// used once those bytes are gone.  Protocol names must outlive the packet, which never frees them.  Only one thread may
// use a packet at a time.
//
// Operations return 1 or 0.  GetError returns the code of the last write (PACKET_WRITE_OVERFLOW) or read
// (PACKET_READ_OVERFLOW) that did not fit.
class Packet {
public:
    // Allocates aCapacity bytes, which the packet owns and does not clear.  A packet with capacity 0 has no buffer and
    // may view the bytes of another packet.
    explicit Packet(uint32_t aCapacity);
    // The copy of an owner owns a copy of all cCapacity bytes, with the payload view at the same place.  The copy of a
    // viewing packet views the same bytes.  Both are read from their first byte on and have no error.
    Packet(const Packet& aOther);
    Packet& operator=(const Packet&) = delete;
    virtual ~Packet() = default;

    // Checks and decodes the bytes.  Returns 1 when they are valid; else 0.  A plain packet is always valid.
    virtual uint32_t Parse() { return 1; }

    // Appends bytes at the write position.  Returns 1; 0 with PACKET_WRITE_OVERFLOW when the bytes beyond the capacity
    // were cut off.  cSize grows by the bytes copied even after Rewind, so a packet is refilled with Rewind and
    // SetSize(0).
    uint32_t Write(uint32_t aLength, const unsigned char* apBytes);
    // Copies bytes to cPayload, with the same results.  cPayloadSize becomes the number of bytes copied and cSize grows
    // by it; the write position stays.
    uint32_t WritePayload(uint32_t aLength, const unsigned char* apBytes);
    // Copies bytes from the read position, which moves behind them.  Returns 1; 0 with PACKET_READ_OVERFLOW when fewer
    // valid bytes (or none at all) were left, which are copied all the same.
    uint32_t Read(uint32_t aLength, unsigned char* apOut);
    // Copies the bytes of the payload view that lie inside the buffer, at most cPayloadSize, to apOut, which must have
    // room for them.  Always returns 1.
    uint32_t ReadPayload(unsigned char* apOut) const;
    void Rewind();  // moves both positions to the first byte; cSize stays

    // Make this packet, which was built with capacity 0, view the bytes of apOther or of its payload and take over
    // their size and protocol name.  Reading starts at the first byte.  A view counts as full, so nothing can be
    // appended to it.  A null apOther changes nothing.
    void Share(const Packet* apOther);
    void SharePayload(const Packet* apOther);

    uint32_t GetSize() const { return cSize; }
    void SetSize(uint32_t aSize) { cSize = aSize; }
    uint32_t GetError();  // returns the last code and clears it

    // Returns how many valid bytes are really there: anybody may set cSize, even beyond the capacity.
    uint32_t ValidBytes() const { return cSize < cCapacity ? cSize : cCapacity; }

    unsigned char* cData;     // the first byte; null without a buffer
    const char* cProtocol;    // "T", "AF", "PF", or null
    uint32_t cSize;           // valid bytes
    unsigned char* cPayload;  // null in a plain packet
    char* cPayloadProtocol;   // name of the payload's protocol; each subclass says who writes into it
    uint32_t cPayloadSize;
    uint32_t cCapacity;
    unsigned char* cWritePosition;
    unsigned char* cReadPosition;
    uint32_t cError;
    bool cOwner;  // whether the packet owns its buffer

protected:
    // Returns how far apPlace lies behind cData; cCapacity for a place outside the buffer.
    uint32_t OffsetOf(const unsigned char* apPlace) const;
    // Makes the payload view begin aOffset bytes behind cData, at the latest at the end of the buffer.
    void MovePayload(uint32_t aOffset);
    // Overwrites bytes in place and moves no position.  Returns 1; 0 with PACKET_WRITE_OVERFLOW, and nothing written,
    // when the bytes do not all fit.
    uint32_t WriteAt(uint32_t aOffset, uint32_t aLength, const unsigned char* apBytes);

private:
    uint32_t PayloadBytes() const;  // how many bytes of the payload view lie inside the buffer
    uint32_t CopyIn(unsigned char* apPlace, uint32_t aLength, const unsigned char* apBytes);
    void View(unsigned char* apBytes, uint32_t aSize, uint32_t aCapacity, const char* apProtocol);

    std::unique_ptr<unsigned char[]> cBuffer;
};
