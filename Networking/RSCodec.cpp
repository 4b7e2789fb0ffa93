#include "Networking/RSCodec.h"

#include <new>
#include <numeric>

namespace {

constexpr uint32_t WORD_SYMBOLS = 8;
constexpr uint32_t USUAL_ROW_WORDS = RS_PARITY_SIZE / WORD_SYMBOLS;
constexpr uint32_t MAX_ROW_WORDS = 256 / WORD_SYMBOLS;

bool MakeField(RSCodec& aCodec, uint32_t aGeneratorPolynomial) {
    const uint32_t lLength = aCodec.mLength;
    aCodec.mLogarithms[0] = static_cast<uint8_t>(lLength);
    uint32_t lPower = 1;
    for (uint32_t lExponent = 0; lExponent < lLength; ++lExponent) {
        if (lExponent > 0 && lPower <= 1)
            return false;  // not primitive: the powers are back at 1 too early, or at 0
        aCodec.mPowers[lExponent] = static_cast<uint8_t>(lPower);
        aCodec.mLogarithms[lPower] = static_cast<uint8_t>(lExponent);
        lPower <<= 1;
        if (lPower > lLength)
            lPower ^= aGeneratorPolynomial;
        lPower &= lLength;
    }
    return lPower == 1;
}

// Multiplies (x - root) over all roots and then replaces the coefficients by their logarithms.
void MakeGenerator(RSCodec& aCodec) {
    auto& lGenerator = aCodec.mGenerator;
    lGenerator[0] = 1;
    for (uint32_t lIndex = 0; lIndex < aCodec.mRoots; ++lIndex) {
        const uint32_t lRoot = aCodec.mPrimitive * (aCodec.mFirstRoot + lIndex) % aCodec.mLength;
        for (uint32_t lPlace = lIndex + 1; lPlace > 0; --lPlace)
            lGenerator[lPlace] =
                static_cast<uint8_t>(lGenerator[lPlace - 1] ^ aCodec.TimesPower(lGenerator[lPlace], lRoot));
        lGenerator[0] = aCodec.TimesPower(lGenerator[0], lRoot);
    }
    for (uint32_t lPlace = 0; lPlace <= aCodec.mRoots; ++lPlace)
        lGenerator[lPlace] = aCodec.mLogarithms[lGenerator[lPlace]];
}

void MakeRows(RSCodec& aCodec) {
    aCodec.mRowWords = aCodec.mRoots <= RS_PARITY_SIZE ? USUAL_ROW_WORDS : MAX_ROW_WORDS;
    aCodec.mRows.assign(size_t{256} * aCodec.mRowWords, 0);
    for (uint32_t lValue = 1; lValue <= aCodec.mLength; ++lValue) {
        for (uint32_t lPlace = 0; lPlace < aCodec.mRoots; ++lPlace) {
            const uint32_t lCoefficient = aCodec.mGenerator[aCodec.mRoots - 1 - lPlace];
            const uint64_t lProduct =
                lCoefficient == aCodec.mLength ? 0 : aCodec.TimesPower(static_cast<uint8_t>(lValue), lCoefficient);
            aCodec.mRows[lValue * aCodec.mRowWords + lPlace / WORD_SYMBOLS] |= lProduct << lPlace % WORD_SYMBOLS * 8;
        }
    }
}

// Writes the remainder of the division of the message, followed by zeros, by the generator.  The inner loop is unrolled
// so that the parity stays in registers, which makes it twice as fast with g++.
template <uint32_t WORDS>
void Divide(const RSCodec& aCodec, const uint8_t* apMessage, uint8_t* apParity) {
    uint64_t lParity[WORDS + 1] = {};
    for (uint32_t lIndex = 0; lIndex < aCodec.GetMessageSize(); ++lIndex) {
        const auto lFeedback = static_cast<uint8_t>(apMessage[lIndex] ^ lParity[0]);
        const uint64_t* const lpRow = aCodec.mRows.data() + lFeedback * WORDS;
#pragma GCC unroll 8
        for (uint32_t lWord = 0; lWord < WORDS; ++lWord)
            lParity[lWord] = (lParity[lWord] >> 8 | lParity[lWord + 1] << 56) ^ lpRow[lWord];
    }
    for (uint32_t lPlace = 0; lPlace < aCodec.mRoots; ++lPlace)
        apParity[lPlace] = static_cast<uint8_t>(lParity[lPlace / WORD_SYMBOLS] >> lPlace % WORD_SYMBOLS * 8);
}

bool InRange(int32_t aValue, int32_t aLowest, int32_t aHighest) {
    return aValue >= aLowest && aValue <= aHighest;
}

uint32_t InverseOf(uint32_t aValue, uint32_t aModulus) {
    uint32_t lInverse = 1;
    while (lInverse * aValue % aModulus != 1 % aModulus)
        ++lInverse;
    return lInverse;
}

}  // namespace

std::unique_ptr<const RSCodec> CreateRSCodec(int32_t aSymbolSize, int32_t aGeneratorPolynomial, int32_t aFirstRoot,
                                             int32_t aPrimitive, int32_t aRoots, int32_t aPadding) try {
    if (!InRange(aSymbolSize, 0, 8))
        return nullptr;
    const int32_t lLength = (1 << aSymbolSize) - 1;
    if (!InRange(aFirstRoot, 0, lLength) || !InRange(aPrimitive, 1, lLength) || !InRange(aRoots, 0, lLength) ||
        !InRange(aPadding, 0, lLength - aRoots - 1) || std::gcd(aPrimitive, lLength) != 1)
        return nullptr;
    auto lCodec = std::make_unique<RSCodec>();
    lCodec->mSymbolSize = static_cast<uint32_t>(aSymbolSize);
    lCodec->mLength = static_cast<uint32_t>(lLength);
    lCodec->mRoots = static_cast<uint32_t>(aRoots);
    lCodec->mFirstRoot = static_cast<uint32_t>(aFirstRoot);
    lCodec->mPrimitive = static_cast<uint32_t>(aPrimitive);
    lCodec->mInverse = InverseOf(lCodec->mPrimitive, lCodec->mLength);
    lCodec->mPadding = static_cast<uint32_t>(aPadding);
    if (!MakeField(*lCodec, static_cast<uint32_t>(aGeneratorPolynomial)))
        return nullptr;
    MakeGenerator(*lCodec);
    MakeRows(*lCodec);
    return lCodec;
} catch (const std::bad_alloc&) {
    return nullptr;
}

const RSCodec* SharedRSCodec() {
    static const RSCodec* const slpCodec = CreateRSCodec(8, 0x11D, 1, 1, RS_PARITY_SIZE, 0).release();
    return slpCodec;
}

void EncodeRS(const RSCodec* apcCodec, const uint8_t* apMessage, uint8_t* apParity) {
    if (apcCodec->mRowWords == USUAL_ROW_WORDS)
        Divide<USUAL_ROW_WORDS>(*apcCodec, apMessage, apParity);
    else
        Divide<MAX_ROW_WORDS>(*apcCodec, apMessage, apParity);
}
