#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

constexpr uint32_t RS_DATA_SIZE = 207;      // bytes of a message
constexpr uint32_t RS_PARITY_SIZE = 48;     // bytes behind it
constexpr uint32_t RS_CODEWORD_SIZE = 255;  // both

// The tables of a systematic Reed-Solomon code (ETSI TS 102 821, PFT layer, uses RS(255, 207) over GF(2^8)).  A
// codeword is the message and then the parity; its first symbol is the coefficient of the highest power of x.  Made
// once by CreateRSCodec and read only, so any number of threads may use one.
struct RSCodec {
    uint32_t mSymbolSize = 0;                   // bits of a symbol
    uint32_t mLength = 0;                       // n, symbols of a codeword without padding
    std::array<uint8_t, 256> mPowers = {};      // of alpha; 0 at n
    std::array<uint8_t, 256> mLogarithms = {};  // to the base alpha; n for 0
    std::array<uint8_t, 256> mGenerator = {};   // its mRoots + 1 coefficients as logarithms, constant term first
    uint32_t mRoots = 0;                        // parity symbols
    uint32_t mFirstRoot = 0;                    // the roots are alpha^(mPrimitive * (mFirstRoot + i)), i < mRoots
    uint32_t mPrimitive = 0;
    uint32_t mInverse = 0;  // of mPrimitive, modulo n
    uint32_t mPadding = 0;  // leading zero symbols that are neither stored nor sent

    // For each value that leaves the division, what it adds to the parity: the generator times that value, in words of
    // eight symbols, the first one lowest.  A step of the division is a shift and one row instead of mRoots products.
    std::vector<uint64_t> mRows;
    uint32_t mRowWords = 0;

    uint32_t GetMessageSize() const { return mLength - mRoots - mPadding; }
    uint32_t Wrap(uint32_t aExponent) const { return aExponent < mLength ? aExponent : aExponent - mLength; }
    // aValue times alpha^aExponent, which is below n.
    uint8_t TimesPower(uint8_t aValue, uint32_t aExponent) const {
        return aValue == 0 ? uint8_t{0} : mPowers[Wrap(mLogarithms[aValue] + aExponent)];
    }
};

// Null for a symbol size outside 0 to 8; a first root, primitive exponent, count of roots or padding outside the
// field's range (for 8 bits 0...255, 1...255, 0...255 and 0...254 - roots); an exponent that has no inverse modulo n; a
// polynomial that is not primitive; or lack of memory.  This system's code is (8, 0x11D, 1, 1, 48, 0).
std::unique_ptr<const RSCodec> CreateRSCodec(int32_t aSymbolSize, int32_t aGeneratorPolynomial, int32_t aFirstRoot,
                                             int32_t aPrimitive, int32_t aRoots, int32_t aPadding);

// Writes the parity of a message: mRoots bytes for GetMessageSize() bytes, with this system's code RS_PARITY_SIZE for
// RS_DATA_SIZE.
void EncodeRS(const RSCodec* apcCodec, const uint8_t* apMessage, uint8_t* apParity);

// Corrects a codeword, message and parity, in place: e errors and the aCount erasures whose indexes apPositions holds,
// as long as 2e + aCount is at most mRoots.  Returns how many bytes were corrected, erasures that were right by chance
// included, with their indexes ascending in apPositions (room for mRoots; null when nobody wants them and aCount is 0).
// 0 when there was nothing to correct.  -1, with the codeword as it was, when it cannot be corrected, and for more
// erasures than parity bytes, an index outside the codeword or one given twice in a codeword that is not consistent.
// Damage beyond the limit can also lead to another valid codeword.
int32_t DecodeRS(const RSCodec* apcCodec, uint8_t* apCodeword, int32_t* apPositions, int32_t aCount);

// This system's code, made once for the whole process and never freed; null when there was no memory for it.
const RSCodec* SharedRSCodec();
