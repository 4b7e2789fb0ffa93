#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

// A growing run of bits, most significant bit first; the bits that complete the last byte are 0.
class BitWriter {
public:
    void Put(uint32_t aValue, unsigned aBits);  // the aBits lowest bits of aValue; at most 32
    void PutText(std::string_view aText);       // 8 bits a character

    size_t GetBitCount() const { return cBits; }
    const std::vector<unsigned char>& GetBytes() const { return cBytes; }

private:
    std::vector<unsigned char> cBytes;
    size_t cBits = 0;
};
