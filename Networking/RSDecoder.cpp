// Errors-and-erasures decoding: Berlekamp and Massey's iteration solves the key equation, Chien's search finds the
// roots of the locator, and Forney's formula gives the values.

#include <algorithm>

#include "Networking/RSCodec.h"

namespace {

using Polynomial = std::array<uint8_t, 256>;  // constant term first

class RSDecoder {
public:
    RSDecoder(const RSCodec& aCodec, uint8_t* apCodeword)
        : cCodec(aCodec), cCodeword(apCodeword), cLength(aCodec.mLength), cRoots(aCodec.mRoots) {}

    int32_t Decode(int32_t* apPositions, uint32_t aCount) {
        if (IsConsistent())
            return 0;
        if (!LocateErasures(apPositions, aCount))
            return -1;
        Evaluate();
        // Without errors the evaluator has no terms from x^aCount on; then the erasures are all that is wrong, and
        // their roots are known already.
        if (std::any_of(cEvaluator.begin() + aCount, cEvaluator.begin() + cRoots,
                        [](uint8_t aTerm) { return aTerm; })) {
            if (!Iterate(aCount) || !FindRoots())
                return -1;
            Evaluate();
        }
        Correct();
        if (apPositions != nullptr)
            std::copy_n(cPositions.begin(), cFound, apPositions);
        return static_cast<int32_t>(cFound);
    }

private:
    // Returns true when the codeword has no faults; otherwise computes its syndromes, which are its values at the
    // code's roots.  The remainder by the generator, which the encoder computes, has the same values there.
    bool IsConsistent() {
        Polynomial lRemainder;
        EncodeRS(&cCodec, cCodeword, lRemainder.data());
        const uint8_t* const lpParity = cCodeword + cCodec.GetMessageSize();
        uint8_t lDifferent = 0;
        for (uint32_t lPlace = 0; lPlace < cRoots; ++lPlace)
            lDifferent |= lRemainder[lPlace] ^= lpParity[lPlace];
        if (lDifferent == 0)
            return true;
        std::array<uint8_t, 256> lRootExponents;
        for (uint32_t lIndex = 0; lIndex < cRoots; ++lIndex)
            lRootExponents[lIndex] = static_cast<uint8_t>(cCodec.mPrimitive * (cCodec.mFirstRoot + lIndex) % cLength);
        for (uint32_t lPlace = 0; lPlace < cRoots; ++lPlace) {
            for (uint32_t lIndex = 0; lIndex < cRoots; ++lIndex)
                cSyndromes[lIndex] = static_cast<uint8_t>(
                    lRemainder[lPlace] ^ cCodec.TimesPower(cSyndromes[lIndex], lRootExponents[lIndex]));
        }
        return false;
    }

    bool LocateErasures(const int32_t* apPositions, uint32_t aCount) {
        std::copy_n(apPositions, aCount, cPositions.begin());
        std::sort(cPositions.begin(), cPositions.begin() + aCount);
        cFound = aCount;
        cDegree = aCount;
        cLocator[0] = 1;
        for (uint32_t lIndex = 0; lIndex < aCount; ++lIndex) {
            const int32_t lPosition = cPositions[lIndex];
            const bool lTwice = lIndex > 0 && lPosition == cPositions[lIndex - 1];
            if (lTwice || lPosition < 0 || static_cast<uint32_t>(lPosition) >= cLength - cCodec.mPadding)
                return false;
            const uint32_t lPlace = cLength - 1 - cCodec.mPadding - static_cast<uint32_t>(lPosition);
            const uint32_t lExponent = cCodec.mPrimitive * lPlace % cLength;
            for (uint32_t lTerm = lIndex + 1; lTerm > 0; --lTerm)
                cLocator[lTerm] ^= cCodec.TimesPower(cLocator[lTerm - 1], lExponent);
            cRootExponents[lIndex] = (cLength - lExponent) % cLength;
        }
        return true;
    }

    // The evaluator is the product of the syndromes and the locator, modulo x^cRoots.
    void Evaluate() {
        for (uint32_t lTerm = 0; lTerm < cRoots; ++lTerm)
            cEvaluator[lTerm] = Discrepancy(lTerm);
    }

    uint8_t Discrepancy(uint32_t aTerm) const {
        uint8_t lSum = 0;
        for (uint32_t lIndex = 0; lIndex <= std::min(aTerm, cDegree); ++lIndex)
            lSum ^= Times(cLocator[lIndex], cSyndromes[aTerm - lIndex]);
        return lSum;
    }

    // Extends the erasure locator by Berlekamp and Massey's iteration.  Returns false when the locator does not account
    // for the syndromes at the end.
    bool Iterate(uint32_t aErasures) {
        Polynomial lPrevious = cLocator;
        uint32_t lRegister = aErasures;
        cDegree = cRoots;
        for (uint32_t lStep = aErasures + 1; lStep <= cRoots; ++lStep) {
            const uint8_t lDiscrepancy = Discrepancy(lStep - 1);
            const Polynomial lBefore = cLocator;
            if (lDiscrepancy != 0)
                for (uint32_t lTerm = 1; lTerm <= cRoots; ++lTerm)
                    cLocator[lTerm] ^= cCodec.TimesPower(lPrevious[lTerm - 1], cCodec.mLogarithms[lDiscrepancy]);
            if (lDiscrepancy != 0 && 2 * lRegister <= lStep + aErasures - 1) {
                lRegister = lStep + aErasures - lRegister;
                const uint32_t lInverse = (cLength - cCodec.mLogarithms[lDiscrepancy]) % cLength;
                for (uint32_t lTerm = 0; lTerm <= cRoots; ++lTerm)
                    lPrevious[lTerm] = cCodec.TimesPower(lBefore[lTerm], lInverse);
            } else {
                std::copy_backward(lPrevious.begin(), lPrevious.begin() + cRoots, lPrevious.begin() + cRoots + 1);
                lPrevious[0] = 0;
            }
        }
        while (cDegree > 0 && cLocator[cDegree] == 0)
            --cDegree;
        return cDegree == lRegister;
    }

    bool FindRoots() {
        cFound = 0;
        Polynomial lTerms = cLocator;
        for (uint32_t lExponent = 1; lExponent <= cLength && cFound <= cDegree; ++lExponent) {
            uint8_t lSum = 1;
            for (uint32_t lTerm = 1; lTerm <= cDegree; ++lTerm) {
                lTerms[lTerm] = cCodec.TimesPower(lTerms[lTerm], lTerm);
                lSum ^= lTerms[lTerm];
            }
            if (lSum != 0)
                continue;
            const uint32_t lPlace = (cLength - lExponent) * cCodec.mInverse % cLength;
            if (lPlace + cCodec.mPadding >= cLength)
                return false;  // a root in the padding, which has no errors
            cPositions[cFound] = static_cast<int32_t>(cLength - 1 - cCodec.mPadding - lPlace);
            cRootExponents[cFound++] = lExponent % cLength;
        }
        return cFound == cDegree;
    }

    // Adds to the symbol of each root of the locator what Forney's formula gives.
    void Correct() {
        const uint32_t lFirstRoot = cCodec.mFirstRoot % cLength;
        for (uint32_t lIndex = 0; lIndex < cFound; ++lIndex) {
            const uint32_t lRoot = cRootExponents[lIndex];
            uint8_t lNumerator = 0;
            for (uint32_t lTerm = cDegree; lTerm-- > 0;)
                lNumerator = static_cast<uint8_t>(cCodec.TimesPower(lNumerator, lRoot) ^ cEvaluator[lTerm]);
            if (lNumerator == 0)
                continue;
            uint8_t lDerivative = 0;
            for (uint32_t lTerm = (cDegree - 1) | 1; lTerm <= cDegree; lTerm -= 2)
                lDerivative =
                    static_cast<uint8_t>(cCodec.TimesPower(lDerivative, 2 * lRoot % cLength) ^ cLocator[lTerm]);
            const uint32_t lFactor = (lFirstRoot + cLength - 1) * lRoot % cLength;  // X^(1 - first root)
            const uint32_t lQuotient = cLength - cCodec.mLogarithms[lDerivative];
            cCodeword[cPositions[lIndex]] ^= cCodec.TimesPower(lNumerator, (lFactor + lQuotient) % cLength);
        }
    }

    uint8_t Times(uint8_t aOne, uint8_t aOther) const {
        return aOther == 0 ? uint8_t{0} : cCodec.TimesPower(aOne, cCodec.mLogarithms[aOther]);
    }

    const RSCodec& cCodec;
    uint8_t* const cCodeword;
    const uint32_t cLength;
    const uint32_t cRoots;
    Polynomial cSyndromes = {};
    Polynomial cLocator = {};
    Polynomial cEvaluator = {};
    uint32_t cDegree = 0;  // degree of cLocator
    uint32_t cFound = 0;   // number of entries in cRootExponents and cPositions
    std::array<uint32_t, 256> cRootExponents;
    std::array<int32_t, 256> cPositions;
};

}  // namespace

int32_t DecodeRS(const RSCodec* apcCodec, uint8_t* apCodeword, int32_t* apPositions, int32_t aCount) {
    if (aCount < 0 || static_cast<uint32_t>(aCount) > apcCodec->mRoots)
        return -1;
    return RSDecoder(*apcCodec, apCodeword).Decode(apPositions, static_cast<uint32_t>(aCount));
}
