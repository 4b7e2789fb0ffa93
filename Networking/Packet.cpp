#include "Networking/Packet.h"

#include <algorithm>
#include <cstring>

Packet::Packet(uint32_t aCapacity)
    : cData(nullptr),
      cProtocol(nullptr),
      cSize(0),
      cPayload(nullptr),
      cPayloadProtocol(nullptr),
      cPayloadSize(0),
      cCapacity(aCapacity),
      cError(0),
      cOwner(aCapacity != 0) {
    if (cOwner) {
        cBuffer = std::make_unique_for_overwrite<unsigned char[]>(aCapacity);
        cData = cBuffer.get();
    }
    Rewind();
}

Packet::Packet(const Packet& aOther) : Packet(aOther.cOwner ? aOther.cCapacity : 0) {
    if (cOwner)
        std::memcpy(cData, aOther.cData, cCapacity);
    else
        View(aOther.cData, aOther.cSize, aOther.cCapacity, aOther.cProtocol);
    cSize = aOther.cSize;
    cProtocol = aOther.cProtocol;
    cPayloadProtocol = aOther.cPayloadProtocol;
    if (aOther.cPayload != nullptr)
        MovePayload(aOther.OffsetOf(aOther.cPayload));
    cPayloadSize = aOther.cPayloadSize;
    if (cOwner)
        Rewind();
}

uint32_t Packet::Write(uint32_t aLength, const unsigned char* apBytes) {
    const uint32_t lCount = CopyIn(cWritePosition, aLength, apBytes);
    cWritePosition += lCount;
    cSize += lCount;
    return lCount == aLength;
}

uint32_t Packet::WritePayload(uint32_t aLength, const unsigned char* apBytes) {
    cPayloadSize = CopyIn(cPayload, aLength, apBytes);
    cSize += cPayloadSize;
    return cPayloadSize == aLength;
}

uint32_t Packet::Read(uint32_t aLength, unsigned char* apOut) {
    const uint32_t lOffset = OffsetOf(cReadPosition);
    const uint32_t lLeft = lOffset < ValidBytes() ? ValidBytes() - lOffset : 0;
    const uint32_t lCount = std::min(aLength, lLeft);
    if (lLeft == 0 || lCount < aLength)
        cError = PACKET_READ_OVERFLOW;
    if (lCount != 0)
        std::memcpy(apOut, cReadPosition, lCount);
    cReadPosition += lCount;
    return lLeft != 0 && lCount == aLength;
}

uint32_t Packet::ReadPayload(unsigned char* apOut) const {
    if (PayloadBytes() != 0)
        std::memcpy(apOut, cPayload, PayloadBytes());
    return 1;
}

void Packet::Rewind() {
    cWritePosition = cData;
    cReadPosition = cData;
}

void Packet::Share(const Packet* apOther) {
    if (apOther != nullptr)
        View(apOther->cData, apOther->cSize, apOther->cCapacity, apOther->cProtocol);
}

void Packet::SharePayload(const Packet* apOther) {
    if (apOther != nullptr)
        View(apOther->cPayload, apOther->PayloadBytes(), apOther->PayloadBytes(), apOther->cPayloadProtocol);
}

uint32_t Packet::GetError() {
    const uint32_t lError = cError;
    cError = 0;
    return lError;
}

uint32_t Packet::OffsetOf(const unsigned char* apPlace) const {
    // Pointers into different buffers have no order, so numbers are compared; a place before cData gives a huge one.
    const uintptr_t lOffset = reinterpret_cast<uintptr_t>(apPlace) - reinterpret_cast<uintptr_t>(cData);
    return lOffset < cCapacity ? static_cast<uint32_t>(lOffset) : cCapacity;
}

uint32_t Packet::PayloadBytes() const {
    return std::min(cPayloadSize, cCapacity - OffsetOf(cPayload));
}

void Packet::MovePayload(uint32_t aOffset) {
    cPayload = cData + std::min(aOffset, cCapacity);
}

uint32_t Packet::WriteAt(uint32_t aOffset, uint32_t aLength, const unsigned char* apBytes) {
    if (aOffset > cCapacity || aLength > cCapacity - aOffset) {
        cError = PACKET_WRITE_OVERFLOW;
        return 0;
    }
    return CopyIn(cData + aOffset, aLength, apBytes) == aLength;
}

uint32_t Packet::CopyIn(unsigned char* apPlace, uint32_t aLength, const unsigned char* apBytes) {
    const uint32_t lCount = std::min(aLength, cCapacity - OffsetOf(apPlace));
    if (lCount < aLength)
        cError = PACKET_WRITE_OVERFLOW;
    if (lCount != 0)
        std::memcpy(apPlace, apBytes, lCount);
    return lCount;
}

void Packet::View(unsigned char* apBytes, uint32_t aSize, uint32_t aCapacity, const char* apProtocol) {
    cData = apBytes;
    cSize = aSize;
    cCapacity = aCapacity;
    cProtocol = apProtocol;
    cReadPosition = cData;
    cWritePosition = cData + cCapacity;
}
