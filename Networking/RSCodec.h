#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

constexpr uint32_t RS_DATA_SIZE = 207;      // data bytes of a codeword
constexpr uint32_t RS_PARITY_SIZE = 48;     // parity bytes behind them
constexpr uint32_t RS_CODEWORD_SIZE = 255;  // data and parity bytes

// The tables of a systematic Reed-Solomon code (ETSI TS 102 821, PFT layer, uses RS(255, 207) over GF(2^8)).  A
// codeword is the message followed by the parity; its first symbol is the coefficient of the highest power of x.
// CreateRSCodec makes the tables and nothing changes them, so any number of threads may use one object.
struct RSCodec {
    uint32_t mSymbolSize = 0;                   // bits of a symbol
    uint32_t mLength = 0;                       // n, the number of symbols of a codeword with its padding
    std::array<uint8_t, 256> mPowers = {};      // alpha to the power of the index; 0 at index n
    std::array<uint8_t, 256> mLogarithms = {};  // logarithm of the index to the base alpha; n at index 0
    std::array<uint8_t, 256> mGenerator = {};   // logarithms of its mRoots + 1 coefficients, constant term first
    uint32_t mRoots = 0;                        // number of the generator's roots and of parity symbols
    uint32_t mFirstRoot = 0;                    // the roots are alpha^(mPrimitive * (mFirstRoot + i)), i < mRoots
    uint32_t mPrimitive = 0;
    uint32_t mInverse = 0;  // inverse of mPrimitive modulo n
    uint32_t mPadding = 0;  // number of leading zero symbols that are neither stored nor sent

    // Row v is the generator times v, which the encoder adds to the parity when v leaves the division: mRowWords words
    // of eight symbols, the first symbol in the lowest byte.  So a step of the division needs a shift and one row
    // instead of mRoots products.
    std::vector<uint64_t> mRows;
    uint32_t mRowWords = 0;

    uint32_t GetMessageSize() const { return mLength - mRoots - mPadding; }
    uint32_t Wrap(uint32_t aExponent) const { return aExponent < mLength ? aExponent : aExponent - mLength; }
    // Returns aValue times alpha^aExponent; aExponent is below n.
    uint8_t TimesPower(uint8_t aValue, uint32_t aExponent) const {
        return aValue == 0 ? uint8_t{0} : mPowers[Wrap(mLogarithms[aValue] + aExponent)];
    }
};

// Makes the tables of a code; this system's is (8, 0x11D, 1, 1, 48, 0).  Returns null when the symbol size is outside
// 0 to 8; when the first root, the primitive exponent, the number of roots or the padding is outside the field's range
// (for 8 bits 0 to 255, 1 to 255, 0 to 255 and 0 to 254 - roots); when the primitive exponent has no inverse modulo n;
// when the polynomial is not primitive; or when there is no memory.
std::unique_ptr<const RSCodec> CreateRSCodec(int32_t aSymbolSize, int32_t aGeneratorPolynomial, int32_t aFirstRoot,
                                             int32_t aPrimitive, int32_t aRoots, int32_t aPadding);

// Writes the parity of a message: mRoots bytes for GetMessageSize() bytes.  With this system's code these are
// RS_PARITY_SIZE and RS_DATA_SIZE.
void EncodeRS(const RSCodec* apcCodec, const uint8_t* apMessage, uint8_t* apParity);

// Corrects a codeword (message and parity) in place.  apPositions holds the indexes of aCount erased bytes; together
// with them e wrong bytes at unknown places are corrected as long as 2e + aCount is at most mRoots.
//
// Returns how many bytes were corrected, including erased ones that were right by chance, with their indexes ascending
// in apPositions; 0 when there was nothing to correct; -1, with the codeword unchanged, when it cannot be corrected,
// when more bytes are erased than there are parity bytes, or when the codeword has faults and an index is outside it or
// given twice.  Damage beyond the limit can also lead to another valid codeword.  apPositions needs room for mRoots
// indexes; it may be null when aCount is 0.
int32_t DecodeRS(const RSCodec* apcCodec, uint8_t* apCodeword, int32_t* apPositions, int32_t aCount);

// Returns this system's code, which is made once for the whole process and never freed; null when there was no memory
// for it.
const RSCodec* SharedRSCodec();
