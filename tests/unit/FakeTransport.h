#pragma once

#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "Networking/Layer.h"
#include "tests/unit/TestSupport.h"

inline std::string BytesOf(const Packet& aPacket) {
    return {reinterpret_cast<const char*>(aPacket.cData), aPacket.GetSize()};
}

// A packet that holds exactly aBytes.
struct TextPacket : Packet {
    explicit TextPacket(const std::string& aBytes, const char* apProtocol = nullptr)
        : Packet(static_cast<uint32_t>(aBytes.size())) {
        Write(cCapacity, Octets(aBytes));
        cProtocol = apProtocol;
    }
};

// Returns the code of an operation that failed (its result was 0), or 0 for one that did not.
template <typename Object>
uint32_t CodeOf(Object& aObject, uint32_t aResult) {
    return aResult == 0 ? aObject.GetError() : 0;
}

struct Exhausted {};  // thrown by a test's transport when its script is at its end

// A transport in memory that keeps what is sent and answers each Receive with the next result of a script.
class FakeTransport : public Layer {
public:
    explicit FakeTransport(uint32_t aMaxPacketSize = 1472) : cPacket(aMaxPacketSize) {
        ciMaxPacketSize = aMaxPacketSize;
        cPacket.cProtocol = cProtocol;
    }

    uint32_t Send(Packet* apPacket) override {
        if (cSendCode != 0)
            return Fail(cSendCode);
        cSent.push_back(BytesOf(*apPacket));
        return 1;
    }

    uint32_t Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t) override {
        cTimeOuts.push_back(*apTimeOut);
        *apTimeOut = 0;
        if (cScript.empty())
            throw Exhausted();
        const auto [lResult, lBytes] = cScript.front();
        cScript.pop_front();
        if (lResult == 0)
            return Fail(11);
        cPacket.Rewind();
        cPacket.SetSize(0);
        cPacket.Write(static_cast<uint32_t>(lBytes.size()), Octets(lBytes));
        lBytes.copy(cProtocol, 2);
        apOut->Share(&cPacket);
        return lResult;
    }

    void WillReceive(std::string aBytes) { cScript.emplace_back(1, std::move(aBytes)); }
    void WillTimeOut() { cScript.emplace_back(2, ""); }
    void WillFail() { cScript.emplace_back(0, ""); }
    void LoopBack() {
        for (std::string& lBytes : cSent)
            WillReceive(std::move(lBytes));
        cSent.clear();
    }

    uint32_t cSendCode = 0;
    std::vector<std::string> cSent;
    std::deque<std::pair<uint32_t, std::string>> cScript;
    std::vector<uint32_t> cTimeOuts;  // *apTimeOut at the start of each Receive
    Packet cPacket;
    char cProtocol[3] = "";
};

// Counts the events that a layer reports.
class EventCounts : public StackObserver {
public:
    explicit EventCounts(Layer& aLayer) {
        cReporter.SetObserver(this);
        aLayer.ciReporter = &cReporter;
    }
    void Observe(const StackReport& aReport) override {
        cCounts[static_cast<size_t>(aReport.mEvent)] += aReport.mCount;
    }
    uint64_t Get(StackEvent aEvent) const { return cCounts[static_cast<size_t>(aEvent)]; }

    StackReporter cReporter;

private:
    std::array<uint64_t, static_cast<size_t>(StackEvent::COUNT)> cCounts{};
};

// Calls the layer's Receive until its transport is exhausted.  Returns a word for each result: the bytes of a packet,
// which must have the given protocol; "-" for a failure or loss; "2" when nothing came.
inline std::string ReceiveAll(Layer& aLayer, const std::string& aProtocol) {
    std::string lAll;
    Packet lOut(0);
    uint32_t lTimeOut = 0;
    try {
        for (;;) {
            const uint32_t lResult = aLayer.Receive(&lOut, &lTimeOut, 0);
            EXPECT_TRUE(lResult != 1 || aProtocol == lOut.cProtocol);
            lAll += (lResult == 1 ? BytesOf(lOut) : lResult == 0 ? "-" : "2") + std::string(" ");
        }
    } catch (const Exhausted&) {
    }
    return lAll;
}
