#pragma once

#include <cstdint>

// Numbers as they stand on the wire: most significant byte first.  The caller has checked that the bytes are there.

inline uint16_t ReadU16(const unsigned char* apBytes) {
    return static_cast<uint16_t>((apBytes[0] << 8) | apBytes[1]);
}

inline uint32_t ReadU32(const unsigned char* apBytes) {
    return (static_cast<uint32_t>(ReadU16(apBytes)) << 16) | ReadU16(apBytes + 2);
}

inline void WriteU16(unsigned char* apBytes, uint32_t aValue) {
    apBytes[0] = static_cast<unsigned char>(aValue >> 8);
    apBytes[1] = static_cast<unsigned char>(aValue);
}

inline void WriteU32(unsigned char* apBytes, uint32_t aValue) {
    WriteU16(apBytes, aValue >> 16);
    WriteU16(apBytes + 2, aValue);
}

// Returns how many bytes a value of aBits bits takes.
inline uint32_t BytesOfBits(uint32_t aBits) {
    return aBits / 8 + (aBits % 8 != 0 ? 1 : 0);
}
