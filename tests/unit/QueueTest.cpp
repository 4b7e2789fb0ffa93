#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "Networking/PacketFifo.h"
#include "Networking/PacketQueue.h"
#include "tests/unit/FakeTransport.h"
#include "tests/unit/TestSupport.h"

namespace {

struct NumberedPacket : TextPacket {
    explicit NumberedPacket(int aNumber) : TextPacket(std::string(1, static_cast<char>(aNumber)), "T") {
        cPayloadProtocol = cName;
    }
    char cName[5] = "DMDI";
};

// Takes the oldest packet and returns its number and protocols.
std::string Take(PacketFifo& aFifo, uint32_t aTimeOut) {
    Packet* lpPacket = nullptr;
    EXPECT_EQ(1u, aFifo.Get(&lpPacket, aTimeOut));
    const std::unique_ptr<Packet> lPacket(lpPacket);
    return std::to_string(lPacket->cData[0]) + " " + lPacket->cProtocol + " " + lPacket->cPayloadProtocol;
}

TEST(PacketFifoTest, KeepsOwnCopiesInOrderUpToItsCapacity) {
    PacketFifo lFifo(3);
    for (const int lNumber : {1, 2, 3, 4}) {
        NumberedPacket lPacket(lNumber);
        EXPECT_EQ(lNumber <= 3 ? 1u : 0u, lFifo.Put(&lPacket));
        lPacket.cData[0] = 99;
        lPacket.cName[0] = '?';
    }
    EXPECT_TRUE(lFifo.IsFull());
    for (const int lNumber : {1, 2, 3})
        EXPECT_EQ(std::to_string(lNumber) + " T DMDI", Take(lFifo, FIFO_NO_WAIT));
    EXPECT_TRUE(lFifo.IsEmpty());
    const NumberedPacket lLast(5);
    EXPECT_EQ(1u, lFifo.Put(&lLast));  // the destructor frees it
}

TEST(PacketQueueTest, OrdersBySequenceAroundTheCircleAndIndex) {
    using Keys = std::vector<std::pair<uint32_t, uint32_t>>;
    const std::pair<Keys, Keys> CASES[] = {
        {{{5, 0}, {3, 0}, {4, 0}}, {{3, 0}, {4, 0}, {5, 0}}}, {{{65535, 0}, {2, 0}}, {{65535, 0}, {2, 0}}},
        {{{2, 0}, {65535, 0}}, {{2, 0}, {65535, 0}}},         {{{32767, 0}, {0, 0}}, {{0, 0}, {32767, 0}}},
        {{{32768, 0}, {0, 0}}, {{32768, 0}, {0, 0}}},         {{{7, 1}, {6, 5}, {7, 0}}, {{6, 5}, {7, 0}, {7, 1}}},
    };
    for (const auto& [lIn, lOut] : CASES) {
        PacketQueue lQueue(10);
        const NumberedPacket lPacket(1);
        for (const auto& [lSequence, lIndex] : lIn)
            EXPECT_EQ(1u, lQueue.Insert(&lPacket, lSequence, lIndex, lSequence + lIndex));
        for (const auto& lExpected : lOut) {
            Packet* lpStored = nullptr;
            uint32_t lSequence = 0, lIndex = 0, lExtra = 0;
            EXPECT_EQ(lExpected.first, lQueue.PeekSequence());
            ASSERT_EQ(1u, lQueue.GetFirst(&lpStored, &lSequence, &lIndex, &lExtra));
            EXPECT_EQ(lExpected, std::make_pair(lSequence, lIndex));
            EXPECT_EQ(lSequence + lIndex, lExtra);
            EXPECT_STREQ("DMDI", lpStored->cProtocol);
        }
    }
}

}  // namespace
