#include "tools/BitWriter.h"

void BitWriter::Put(uint32_t aValue, unsigned aBits) {
    while (aBits-- > 0) {
        if (cBits % 8 == 0)
            cBytes.push_back(0);
        cBytes.back() = static_cast<unsigned char>(cBytes.back() | ((aValue >> aBits & 1) << (7 - cBits % 8)));
        ++cBits;
    }
}

void BitWriter::PutText(std::string_view aText) {
    for (const char lCharacter : aText)
        Put(static_cast<unsigned char>(lCharacter), 8);
}
