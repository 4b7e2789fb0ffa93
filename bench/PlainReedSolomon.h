#pragma once

#include <cstdint>
#include <iterator>

// RS(255, 207) over GF(2^8) by the textbook, one product of logarithms at a time.  The codec is measured and checked
// against this class, which therefore shares nothing with it.
class PlainReedSolomon {
public:
    PlainReedSolomon() {
        for (int lExponent = 0, lPower = 1; lExponent < N; ++lExponent) {
            cPowers[lExponent] = static_cast<uint8_t>(lPower);
            cLogarithms[lPower] = static_cast<uint8_t>(lExponent);
            lPower = lPower < 128 ? lPower * 2 : (lPower * 2) ^ 0x11D;
        }
        cLogarithms[0] = N;
        Terms lGenerator = {{1}};
        for (int lRoot = 1; lRoot <= ROOTS; ++lRoot) {
            for (int lPlace = lRoot; lPlace > 0; --lPlace)
                lGenerator[lPlace] =
                    static_cast<uint8_t>(lGenerator[lPlace - 1] ^ Product(lGenerator[lPlace], cPowers[lRoot]));
            lGenerator[0] = Product(lGenerator[0], cPowers[lRoot]);
        }
        for (int lPlace = 0; lPlace <= ROOTS; ++lPlace)
            cGenerator[lPlace] = cLogarithms[lGenerator[lPlace]];
    }

    void Encode(const uint8_t* apMessage, uint8_t* apParity) const {
        for (int lPlace = 0; lPlace < ROOTS; ++lPlace)
            apParity[lPlace] = 0;
        for (int lIndex = 0; lIndex < N - ROOTS; ++lIndex) {
            const int lFeedback = cLogarithms[apMessage[lIndex] ^ apParity[0]];
            if (lFeedback != N)
                for (int lPlace = 1; lPlace < ROOTS; ++lPlace)
                    apParity[lPlace] ^= cPowers[(lFeedback + cGenerator[ROOTS - lPlace]) % N];
            for (int lPlace = 0; lPlace + 1 < ROOTS; ++lPlace)
                apParity[lPlace] = apParity[lPlace + 1];
            apParity[ROOTS - 1] = lFeedback != N ? cPowers[(lFeedback + cGenerator[0]) % N] : uint8_t{0};
        }
    }

    bool IsCodeword(const uint8_t* apCodeword) const {
        for (int lRoot = 1; lRoot <= ROOTS; ++lRoot)
            if (Value(apCodeword, apCodeword + N, lRoot) != 0)
                return false;
        return true;
    }

    // Returns how many bytes were corrected, or -1 when the codeword cannot be corrected.
    int Decode(uint8_t* apCodeword, const int32_t* apErased, int aErased) const {
        Terms lSyndromes = {};
        bool lConsistent = true;
        for (int lRoot = 1; lRoot <= ROOTS; ++lRoot) {
            lSyndromes[lRoot] = Value(apCodeword, apCodeword + N, lRoot);
            lConsistent = lConsistent && lSyndromes[lRoot] == 0;
        }
        if (lConsistent)
            return 0;
        Terms lLocator = {{1}};
        for (int lIndex = 0; lIndex < aErased; ++lIndex) {
            const uint8_t lPlace = cPowers[N - 1 - apErased[lIndex]];
            for (int lTerm = lIndex + 1; lTerm > 0; --lTerm)
                lLocator[lTerm] ^= Product(lLocator[lTerm - 1], lPlace);
        }
        Terms lPrevious = lLocator;
        for (int lStep = aErased + 1, lRegister = aErased; lStep <= ROOTS; ++lStep) {
            uint8_t lDiscrepancy = 0;
            for (int lTerm = 0; lTerm < lStep; ++lTerm)
                lDiscrepancy ^= Product(lLocator[lTerm], lSyndromes[lStep - lTerm]);
            Terms lNext = lLocator;
            for (int lTerm = 1; lTerm <= ROOTS; ++lTerm)
                lNext[lTerm] ^= Product(lDiscrepancy, lPrevious[lTerm - 1]);
            if (lDiscrepancy != 0 && 2 * lRegister <= lStep + aErased - 1) {
                lRegister = lStep + aErased - lRegister;
                for (int lTerm = 0; lTerm <= ROOTS; ++lTerm)
                    lPrevious[lTerm] = Product(lLocator[lTerm], cPowers[(N - cLogarithms[lDiscrepancy]) % N]);
            } else {
                for (int lTerm = ROOTS; lTerm > 0; --lTerm)
                    lPrevious[lTerm] = lPrevious[lTerm - 1];
                lPrevious[0] = 0;
            }
            lLocator = lNext;
        }
        return CorrectRoots(apCodeword, lSyndromes, lLocator);
    }

private:
    static constexpr int N = 255;
    static constexpr int ROOTS = 48;
    struct Terms {  // the terms of a polynomial, constant term first
        uint8_t& operator[](int aTerm) { return mTerms[aTerm]; }
        uint8_t operator[](int aTerm) const { return mTerms[aTerm]; }
        uint8_t mTerms[ROOTS + 1];
    };

    uint8_t Product(uint8_t aOne, uint8_t aOther) const {
        return aOne == 0 || aOther == 0 ? uint8_t{0} : cPowers[(cLogarithms[aOne] + cLogarithms[aOther]) % N];
    }

    // Returns the value of a polynomial at alpha^aExponent by Horner's rule.  The terms start with the highest power.
    template <typename Iterator>
    uint8_t Value(Iterator aFirst, Iterator aLast, int aExponent) const {
        uint8_t lValue = 0;
        for (; aFirst != aLast; ++aFirst)
            lValue = static_cast<uint8_t>(Product(lValue, cPowers[aExponent % N]) ^ *aFirst);
        return lValue;
    }
    uint8_t Value(const Terms& aTerms, int aExponent) const {
        return Value(std::rbegin(aTerms.mTerms), std::rend(aTerms.mTerms), aExponent);
    }

    int CorrectRoots(uint8_t* apCodeword, const Terms& aSyndromes, const Terms& aLocator) const {
        Terms lDerivative = {};
        Terms lEvaluator = {};
        int lDegree = 0;
        for (int lTerm = 1; lTerm <= ROOTS; ++lTerm) {
            lDegree = aLocator[lTerm] != 0 ? lTerm : lDegree;
            lDerivative[lTerm - 1] = lTerm % 2 == 1 ? aLocator[lTerm] : uint8_t{0};
            for (int lPart = 0; lPart < lTerm; ++lPart)
                lEvaluator[lTerm - 1] ^= Product(aLocator[lPart], aSyndromes[lTerm - lPart]);
        }
        int lRoots[N];
        int lCount = 0;
        for (int lExponent = 0; lExponent < N; ++lExponent)
            if (Value(aLocator, lExponent) == 0)
                lRoots[lCount++] = lExponent;
        if (lCount != lDegree)
            return -1;
        for (int lIndex = 0; lIndex < lCount; ++lIndex) {
            const int lRoot = lRoots[lIndex];
            const uint8_t lInverse = cPowers[(N - cLogarithms[Value(lDerivative, lRoot)]) % N];
            const int lPlace = (N - lRoot) % N;
            apCodeword[N - 1 - lPlace] ^= Product(Value(lEvaluator, lRoot), lInverse);
        }
        return lCount;
    }

    uint8_t cPowers[256] = {};
    uint8_t cLogarithms[256] = {};
    Terms cGenerator = {};
};
