#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "Networking/FECProcessor.h"
#include "Networking/FECProtector.h"
#include "Networking/RSCodec.h"
#include "bench/PlainReedSolomon.h"

namespace {

using Bytes = std::vector<uint8_t>;

class ReedSolomonTest : public testing::Test {
protected:
    uint32_t Below(uint32_t aLimit) { return std::uniform_int_distribution<uint32_t>(0, aLimit - 1)(cRandom); }

    Bytes RandomBytes(uint32_t aCount) {
        Bytes lBytes(aCount);
        for (auto& lByte : lBytes)
            lByte = static_cast<uint8_t>(Below(256));
        return lBytes;
    }

    Bytes RandomCodeword() {
        Bytes lCodeword = RandomBytes(RS_CODEWORD_SIZE);
        EncodeRS(cCodec.get(), lCodeword.data(), lCodeword.data() + RS_DATA_SIZE);
        return lCodeword;
    }

    // Returns aCount different numbers below aLimit in ascending order.
    std::vector<uint32_t> Choose(uint32_t aCount, uint32_t aLimit) {
        std::vector<uint32_t> lAll(aLimit);
        std::iota(lAll.begin(), lAll.end(), 0u);
        std::vector<uint32_t> lChosen;
        std::sample(lAll.begin(), lAll.end(), std::back_inserter(lChosen), aCount, cRandom);
        return lChosen;
    }

    // Protects a packet, overwrites the lost fragments and returns whether the packet can be repaired.
    bool Survives(const Bytes& aPacket, const FECLayout& aLayout, const std::vector<uint32_t>& aLost) {
        Bytes lFragments = ProtectPacket(*cCodec, aLayout, aPacket.data());
        for (const uint32_t lLost : aLost)
            std::fill_n(lFragments.begin() + lLost * aLayout.mFragmentSize, aLayout.mFragmentSize, uint8_t{0xA5});
        Packet lReceived(static_cast<uint32_t>(lFragments.size()));
        lReceived.Write(static_cast<uint32_t>(lFragments.size()), lFragments.data());
        cProcessor.ciRSk = aLayout.mRSk;
        cProcessor.ciRSz = aLayout.mRSz;
        return cProcessor.Correct(&lReceived, aLayout.mFragments, aLost.data(), static_cast<uint32_t>(aLost.size())) &&
               Bytes(lReceived.cData, lReceived.cData + lReceived.GetSize()) == aPacket;
    }

    std::mt19937 cRandom{36};
    const std::unique_ptr<const RSCodec> cCodec = CreateRSCodec(8, 0x11D, 1, 1, 48, 0);
    const PlainReedSolomon cPlain;
    FECProcessor cProcessor;
};

TEST_F(ReedSolomonTest, TheCodecHasLimits) {
    struct {
        int32_t mSize, mPolynomial, mFirstRoot, mPrimitive, mRoots, mPadding;
        bool mValid;
    } const CASES[] = {
        {8, 0x11D, 1, 1, 48, 0, true},    {-1, 0x11D, 1, 1, 48, 0, false},  {9, 0x211, 1, 1, 48, 0, false},
        {8, 0x11B, 1, 1, 48, 0, false},   {8, 0x100, 1, 1, 48, 0, false},   {8, 0x11D, -1, 1, 48, 0, false},
        {8, 0x11D, 255, 1, 48, 0, true},  {8, 0x11D, 256, 1, 48, 0, false}, {8, 0x11D, 1, 0, 48, 0, false},
        {8, 0x11D, 112, 11, 32, 0, true}, {8, 0x11D, 1, 255, 48, 0, false}, {8, 0x11D, 1, 256, 48, 0, false},
        {8, 0x11D, 1, 1, -1, 0, false},   {8, 0x11D, 1, 1, 254, 0, true},   {8, 0x11D, 1, 1, 255, 0, false},
        {8, 0x11D, 1, 1, 48, -1, false},  {8, 0x11D, 1, 1, 48, 206, true},  {8, 0x11D, 1, 1, 48, 207, false},
        {4, 0x13, 1, 1, 4, 0, true},      {1, 3, 0, 1, 0, 0, true},         {0, 1, 0, 1, 0, 0, false},
    };
    for (const auto& lCase : CASES) {
        const auto lCodec = CreateRSCodec(lCase.mSize, lCase.mPolynomial, lCase.mFirstRoot, lCase.mPrimitive,
                                          lCase.mRoots, lCase.mPadding);
        EXPECT_EQ(lCase.mValid, lCodec != nullptr) << &lCase - CASES;
        if (lCodec == nullptr || lCase.mRoots == 0)
            continue;
        // A codeword of zeros gets half as many errors as the code has roots.
        uint8_t lCodeword[RS_CODEWORD_SIZE] = {};
        const int32_t lErrors = lCase.mRoots / 2;
        std::fill_n(lCodeword, std::min(lErrors, 255 - lCase.mRoots - lCase.mPadding), uint8_t{3});
        int32_t lPositions[RS_CODEWORD_SIZE];
        EXPECT_LE(0, DecodeRS(lCodec.get(), lCodeword, lPositions, 0)) << &lCase - CASES;
        EXPECT_EQ(0, std::accumulate(std::begin(lCodeword), std::end(lCodeword), 0)) << &lCase - CASES;
    }
}

TEST_F(ReedSolomonTest, EncodesAndDecodesLikeTheTextbook) {
    for (int lRound = 0; lRound < 3000; ++lRound) {
        const Bytes lSent = RandomCodeword();
        uint8_t lParity[RS_PARITY_SIZE];
        cPlain.Encode(lSent.data(), lParity);
        ASSERT_TRUE(std::equal(std::begin(lParity), std::end(lParity), lSent.data() + RS_DATA_SIZE));

        const uint32_t lErasures = Below(RS_PARITY_SIZE + 1);
        const uint32_t lErrors =
            lRound % 4 == 0 ? 0 : Below((RS_PARITY_SIZE - lErasures) / 2 + (lRound % 2 == 0 ? 1 : 5));
        const bool lCorrectable = 2 * lErrors + lErasures <= RS_PARITY_SIZE;
        std::vector<uint32_t> lDamaged = Choose(lErasures + lErrors, RS_CODEWORD_SIZE);
        std::shuffle(lDamaged.begin(), lDamaged.end(), cRandom);
        Bytes lReceived = lSent;
        for (const uint32_t lPlace : lDamaged)
            lReceived[lPlace] ^= static_cast<uint8_t>(1 + Below(255));
        std::vector<int32_t> lPositions(lDamaged.begin(), lDamaged.begin() + lErasures);
        lPositions.resize(RS_PARITY_SIZE);

        Bytes lByTextbook = lReceived;
        const int lExpected = cPlain.Decode(lByTextbook.data(), lPositions.data(), static_cast<int>(lErasures));
        Bytes lDecoded = lReceived;
        const int32_t lResult =
            DecodeRS(cCodec.get(), lDecoded.data(), lPositions.data(), static_cast<int32_t>(lErasures));
        if (lResult < 0) {
            ASSERT_FALSE(lCorrectable);
            ASSERT_EQ(lReceived, lDecoded);
            // The textbook accepts locators that do not account for all syndromes, but then gives no codeword.
            ASSERT_TRUE(lExpected < 0 || !cPlain.IsCodeword(lByTextbook.data()));
            continue;
        }
        ASSERT_EQ(lExpected, lResult);
        ASSERT_EQ(lByTextbook, lDecoded);
        ASSERT_TRUE(cPlain.IsCodeword(lDecoded.data()));
        if (lCorrectable) {
            std::sort(lDamaged.begin(), lDamaged.end());
            ASSERT_EQ(lSent, lDecoded);
            ASSERT_TRUE(std::equal(lDamaged.begin(), lDamaged.end(), lPositions.begin()));
        }
    }
}

TEST_F(ReedSolomonTest, RefusesErasuresThatCannotBe) {
    const Bytes lSent = RandomCodeword();
    Bytes lDamaged = lSent;
    lDamaged[7] ^= 1;
    const std::vector<std::vector<int32_t>> CASES = {{7, 7}, {255}, {-1}, {INT32_MAX}, std::vector<int32_t>(49, 7)};
    for (std::vector<int32_t> lPositions : CASES) {
        EXPECT_EQ(-1,
                  DecodeRS(cCodec.get(), lDamaged.data(), lPositions.data(), static_cast<int32_t>(lPositions.size())));
        EXPECT_NE(lSent, lDamaged);
    }
    EXPECT_EQ(-1, DecodeRS(cCodec.get(), lDamaged.data(), nullptr, -1));
    EXPECT_EQ(1, DecodeRS(cCodec.get(), lDamaged.data(), nullptr, 0));
    EXPECT_EQ(lSent, lDamaged);
}

TEST_F(ReedSolomonTest, LaysOutAndRestoresPackets) {
    struct {
        uint32_t mSize, mErrors, mRSk, mRSz, mFragmentSize, mFragments;
    } const CASES[] = {{1, 1, 1, 0, 17, 3},        {207, 1, 207, 0, 24, 11},  {301, 1, 151, 1, 45, 9},
                       {1000, 1, 200, 0, 113, 11}, {1000, 7, 200, 0, 30, 42}, {3000, 1, 200, 0, 339, 11}};
    for (const auto& lCase : CASES) {
        SCOPED_TRACE(std::to_string(lCase.mSize) + " " + std::to_string(lCase.mErrors));
        const FECLayout lLayout(lCase.mSize, lCase.mErrors, 1472);
        EXPECT_EQ(std::tuple(lCase.mRSk, lCase.mRSz, lCase.mFragmentSize, lCase.mFragments),
                  std::tuple(lLayout.mRSk, lLayout.mRSz, lLayout.mFragmentSize, lLayout.mFragments));
        const Bytes lPacket = RandomBytes(lCase.mSize);
        for (uint32_t lLost = 0; lLost < lLayout.mFragments; ++lLost)
            EXPECT_TRUE(Survives(lPacket, lLayout, {lLost})) << lLost;
        for (int lRound = 0; lRound < 200; ++lRound)
            EXPECT_TRUE(Survives(lPacket, lLayout, Choose(lCase.mErrors, lLayout.mFragments)));
        EXPECT_TRUE(Survives(lPacket, lLayout, {}));
        EXPECT_FALSE(Survives(lPacket, lLayout, Choose(lLayout.mFragments, lLayout.mFragments)));
    }
    // By hand: the first fragment is every ninth byte of two blocks of 151 data and 48 parity bytes.
    Bytes lPacket(301);
    std::iota(lPacket.begin(), lPacket.end(), uint8_t{0});
    const Bytes lFragments = ProtectPacket(*cCodec, FECLayout(301, 1, 1472), lPacket.data());
    EXPECT_EQ((Bytes{0, 9, 18}), Bytes(lFragments.begin(), lFragments.begin() + 3));
    EXPECT_EQ((Bytes{1, 10, 19}), Bytes(lFragments.begin() + 45, lFragments.begin() + 48));
    EXPECT_EQ(lPacket[151 + 207 - 199], lFragments[207 / 9]);  // this byte is in the second block
}

}  // namespace
