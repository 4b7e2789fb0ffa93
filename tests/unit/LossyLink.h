#pragma once

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "platform/Socket.h"

// A link between two UDP ports.  It damages packets only so far that parity against one lost fragment can repair them.
class LossyLink {
public:
    LossyLink(uint32_t aFromPort, uint32_t aToPort) {
        EXPECT_TRUE(cIn.Create() && cIn.Bind(LOOPBACK, static_cast<uint16_t>(aFromPort)) &&
                    cIn.SetReceiveTimeout(20000));
        EXPECT_TRUE(cOut.Create() && cOut.Connect(LOOPBACK, static_cast<uint16_t>(aToPort)));
    }

    // Passes the next packet on: all of its fragments, or what Damage leaves of them.
    void PassPacket(bool aDamaged) {
        std::vector<std::string> lFragments;
        for (size_t lCount = 1; lFragments.size() < lCount;) {
            unsigned char lBuffer[1472];
            size_t lSize = 0;
            ASSERT_EQ(platform::UdpSocket::ReceiveResult::DATAGRAM, cIn.Receive(lBuffer, sizeof lBuffer, &lSize));
            lCount = lBuffer[9];
            lFragments.emplace_back(reinterpret_cast<char*>(lBuffer), lSize);
        }
        if (aDamaged)
            Damage(lFragments);
        for (const std::string& lFragment : lFragments)
            ASSERT_TRUE(cOut.Send(reinterpret_cast<const unsigned char*>(lFragment.data()), lFragment.size()));
    }

private:
    static constexpr uint32_t LOOPBACK = 0x7F000001;

    // Loses one fragment, sometimes doubles the one behind it, and swaps neighbours at a distance from the gap.
    void Damage(std::vector<std::string>& aFragments) {
        const size_t lLost = cRandom() % aFragments.size();
        const auto lPlace = aFragments.erase(aFragments.begin() + static_cast<std::ptrdiff_t>(lLost));
        if (lPlace != aFragments.end() && cRandom() % 2 == 0)
            aFragments.insert(lPlace, std::string(*lPlace));
        if (lLost >= 4)
            std::swap(aFragments[1], aFragments[2]);
        if (lLost + 6 < aFragments.size())
            std::swap(aFragments[lLost + 4], aFragments[lLost + 5]);
    }

    platform::UdpSocket cIn;
    platform::UdpSocket cOut;
    std::mt19937 cRandom{5};
};
