// bench_dcp measures what the codecs, the queues and the layers cost with one frame of a DRM channel, and what it costs
// to ask whether a destination is reachable.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "DrmUtil/CNameResolutionDaemon.h"
#include "Networking/CRC16.h"
#include "Networking/CRC32.h"
#include "Networking/CRC8.h"
#include "Networking/DCPInterface.h"
#include "Networking/FECProtector.h"
#include "Networking/MDIUnit.h"
#include "Networking/PacketQueue.h"
#include "bench/PlainReedSolomon.h"
#include "platform/Console.h"
#include "tools/MdiFrames.h"

namespace {

using benchmark::DoNotOptimize;
using benchmark::State;

constexpr uint32_t TIME_OUT = 1000;  // milliseconds; no benchmark waits so long
constexpr uint16_t SEQUENCE = 4660;

// Returns a unit of about 1 kB with two streams and all items that a super frame begins with.
std::unique_ptr<MDIUnit> SampleUnit() {
    const DrmMode lMode;
    Multiplex lMultiplex;
    std::string lError;
    if (!MakeMultiplex(lMode, {}, &lMultiplex, &lError)) {
        std::fprintf(stderr, "bench_dcp: %s\n", lError.c_str());
        std::exit(1);
    }
    return MdiFrames(lMode, lMultiplex, BuildSdcBlocks(lMode, lMultiplex), 0).Next();
}

// aBytes is the number of bytes that one iteration works on.  A benchmark in which a step failed gives no figures.
void Report(State& aState, uint32_t aBytes, bool aGood) {
    aState.SetBytesProcessed(aState.iterations() * aBytes);
    aState.SetItemsProcessed(aState.iterations());
    if (!aGood)
        aState.SkipWithError("a step did not succeed");
}

// Codecs

template <typename Engine, uint32_t POLYNOMIAL>
void Crc(State& aState) {
    const Engine lEngine(POLYNOMIAL, true);
    const std::vector<unsigned char> lBytes = TestPattern(0, 0, static_cast<uint32_t>(aState.range(0)));
    for (auto _ : aState) {
        auto lCRC = lEngine.Compute(lBytes.data(), static_cast<int32_t>(lBytes.size()));
        DoNotOptimize(lCRC);
    }
    aState.SetBytesProcessed(aState.iterations() * aState.range(0));
}
BENCHMARK(Crc<CRC8, 0x1D>)->Name("CRC8")->RangeMultiplier(8)->Range(64, 4096);
BENCHMARK(Crc<CRC16, CRC16_POLYNOMIAL>)->Name("CRC16")->RangeMultiplier(8)->Range(64, 4096);
BENCHMARK(Crc<CRC32, 0x04C11DB7>)->Name("CRC32")->RangeMultiplier(8)->Range(64, 4096);

void TagWalk(State& aState) {
    const auto lUnit = SampleUnit();
    TAGPacket lReceived(0);
    bool lGood = true;
    for (auto _ : aState) {
        lReceived.Share(lUnit.get());
        lGood = lReceived.Parse() == 1 && lGood;
    }
    Report(aState, lUnit->GetSize(), lGood);
}
BENCHMARK(TagWalk);

// Each iteration takes a new unit, because Parse does not look again at a unit that was valid.
void MdiParse(State& aState) {
    const auto lUnit = SampleUnit();
    bool lGood = true;
    for (auto _ : aState) {
        MDIUnit lReceived(0, 0, 0);
        lReceived.Share(lUnit.get());
        lGood = lReceived.Parse() == 1 && lGood;
    }
    Report(aState, lUnit->GetSize(), lGood);
}
BENCHMARK(MdiParse);

// Builds the AF packet of a unit as AFLayer does.  Returns null when a step fails.
std::unique_ptr<AFPacket> BuildAF(const Packet& aUnit, const CRC16& aEngine, bool aWithCRC) {
    static char sProtocol[] = "T";
    auto lPacket = std::make_unique<AFPacket>(AF_OVERHEAD + aUnit.GetSize(), AF_MAJOR_VERSION, uint8_t{0});
    lPacket->SetCRCEngine(&aEngine);
    lPacket->cPayloadProtocol = sProtocol;
    if (lPacket->WritePayload(aUnit.GetSize(), aUnit.cData) != 1 || lPacket->SetHeader(SEQUENCE, aWithCRC) != 1 ||
        lPacket->SetCRC(aWithCRC) != 1)
        return nullptr;
    return lPacket;
}

void AFBuild(State& aState) {
    const auto lUnit = SampleUnit();
    const CRC16 lEngine(CRC16_POLYNOMIAL, true);
    bool lGood = true;
    for (auto _ : aState) {
        const auto lPacket = BuildAF(*lUnit, lEngine, aState.range(0) != 0);
        lGood = lPacket != nullptr && lGood;
        benchmark::ClobberMemory();
    }
    Report(aState, lUnit->GetSize(), lGood);
}
BENCHMARK(AFBuild)->ArgName("crc")->Arg(0)->Arg(1);

void AFParse(State& aState) {
    const CRC16 lEngine(CRC16_POLYNOMIAL, true);
    const auto lPacket = BuildAF(*SampleUnit(), lEngine, aState.range(0) != 0);
    AFPacket lReceived(0, AF_MAJOR_VERSION, 0);
    lReceived.SetCRCEngine(&lEngine);
    bool lGood = lPacket != nullptr;
    for (auto _ : aState) {
        lReceived.Share(lPacket.get());
        lGood = lReceived.Parse() == 1 && lGood;
    }
    Report(aState, lReceived.GetSize(), lGood);
}
BENCHMARK(AFParse)->ArgName("crc")->Arg(0)->Arg(1);

// Builds a fragment that holds the whole packet.  Returns null when a step fails.
std::unique_ptr<PFTPacket> BuildFragment(const Packet& aPacket) {
    auto lFragment = std::make_unique<PFTPacket>(PFT_HEADER_SIZE + aPacket.GetSize());
    if (lFragment->WritePayload(aPacket.GetSize(), aPacket.cData) != 1 || lFragment->SetHeader(SEQUENCE, 0, 1) != 1)
        return nullptr;
    return lFragment;
}

void PFTBuild(State& aState) {
    const auto lUnit = SampleUnit();
    bool lGood = true;
    for (auto _ : aState) {
        const auto lFragment = BuildFragment(*lUnit);
        lGood = lFragment != nullptr && lGood;
        benchmark::ClobberMemory();
    }
    Report(aState, lUnit->GetSize(), lGood);
}
BENCHMARK(PFTBuild);

void PFTParse(State& aState) {
    const auto lFragment = BuildFragment(*SampleUnit());
    PFTPacket lReceived(0);
    bool lGood = lFragment != nullptr;
    for (auto _ : aState) {
        lReceived.Share(lFragment.get());
        lGood = lReceived.Parse() == 1 && lGood;
    }
    Report(aState, lReceived.GetSize(), lGood);
}
BENCHMARK(PFTParse);

// Reed-Solomon

void RSEncode(State& aState) {
    auto lCodeword = TestPattern(0, 0, RS_CODEWORD_SIZE);
    for (auto _ : aState) {
        EncodeRS(SharedRSCodec(), lCodeword.data(), lCodeword.data() + RS_DATA_SIZE);
        benchmark::ClobberMemory();
    }
    Report(aState, RS_DATA_SIZE, PlainReedSolomon().IsCodeword(lCodeword.data()));
}
BENCHMARK(RSEncode);

void RSEncodePlain(State& aState) {
    const PlainReedSolomon lPlain;
    auto lCodeword = TestPattern(0, 0, RS_CODEWORD_SIZE);
    for (auto _ : aState) {
        lPlain.Encode(lCodeword.data(), lCodeword.data() + RS_DATA_SIZE);
        benchmark::ClobberMemory();
    }
    Report(aState, RS_DATA_SIZE, lPlain.IsCodeword(lCodeword.data()));
}
BENCHMARK(RSEncodePlain);

// Decodes a codeword in which range(0) bytes, one in ten, are erased and range(1) others are wrong.
template <typename Decoder>
void Decode(State& aState, Decoder aDecode) {
    const PlainReedSolomon lPlain;
    auto lSent = TestPattern(0, 0, RS_CODEWORD_SIZE);
    lPlain.Encode(lSent.data(), lSent.data() + RS_DATA_SIZE);
    auto lReceived = lSent;
    std::vector<int32_t> lErased(RS_PARITY_SIZE);
    const auto lErasures = static_cast<int32_t>(aState.range(0));
    for (int32_t lIndex = 0; lIndex < lErasures; ++lIndex) {
        lErased[static_cast<size_t>(lIndex)] = lIndex * 10;
        lReceived[static_cast<size_t>(lIndex) * 10] ^= 0x55;
    }
    for (int32_t lIndex = 0; lIndex < aState.range(1); ++lIndex)
        lReceived[static_cast<size_t>(lIndex) * 10 + 5] ^= 0xAA;
    bool lGood = true;
    for (auto _ : aState) {
        auto lCodeword = lReceived;
        auto lPositions = lErased;
        lGood = aDecode(lCodeword.data(), lPositions.data(), lErasures) >= 0 && lCodeword == lSent && lGood;
    }
    Report(aState, RS_DATA_SIZE, lGood);
}

void RSDecode(State& aState) {
    Decode(
        aState, [](uint8_t* apCodeword, int32_t* apPositions,
                   int32_t aCount) { return DecodeRS(SharedRSCodec(), apCodeword, apPositions, aCount); });
}
BENCHMARK(RSDecode)->ArgNames({"erasures", "errors"})->Args({0, 0})->Args({24, 0})->Args({12, 12})->Args({0, 24});

void RSDecodePlain(State& aState) {
    const PlainReedSolomon lPlain;
    Decode(aState, [&lPlain](uint8_t* apCodeword, const int32_t* apPositions, int32_t aCount) {
        return lPlain.Decode(apCodeword, apPositions, aCount);
    });
}
BENCHMARK(RSDecodePlain)->ArgNames({"erasures", "errors"})->Args({24, 0});

// Protects a packet of a unit's size and repairs it without range(0) of its fragments.
void FECRoundTrip(State& aState) {
    const auto lUnit = SampleUnit();
    const auto lErrors = static_cast<uint32_t>(aState.range(0));
    FECProcessor lProcessor;
    std::vector<uint32_t> lMissing(lErrors);
    std::iota(lMissing.begin(), lMissing.end(), 1u);
    bool lGood = true;
    for (auto _ : aState) {
        const FECLayout lLayout(lUnit->GetSize(), lErrors, UDP_MAX_PACKET_SIZE);
        auto lFragments = ProtectPacket(*SharedRSCodec(), lLayout, lUnit->cData);
        std::fill_n(lFragments.begin() + lLayout.mFragmentSize, lErrors * lLayout.mFragmentSize, uint8_t{0});
        Packet lReceived(static_cast<uint32_t>(lFragments.size()));
        lReceived.Write(static_cast<uint32_t>(lFragments.size()), lFragments.data());
        lProcessor.ciRSk = lLayout.mRSk;
        lProcessor.ciRSz = lLayout.mRSz;
        lGood = lProcessor.Correct(&lReceived, lLayout.mFragments, lMissing.data(), lErrors) &&
                std::equal(lUnit->cData, lUnit->cData + lUnit->GetSize(), lReceived.cData) && lGood;
    }
    Report(aState, lUnit->GetSize(), lGood);
}
BENCHMARK(FECRoundTrip)->ArgName("lost")->Arg(1)->Arg(7);

// Queues

void FifoPutGet(State& aState) {
    const auto lUnit = SampleUnit();
    PacketFifo lFifo(DCP_FIFO_CAPACITY);
    bool lGood = true;
    for (auto _ : aState) {
        Packet* lpTaken = nullptr;
        lGood = lFifo.Put(lUnit.get()) == 1 && lFifo.Get(&lpTaken, TIME_OUT) == 1 && lpTaken != nullptr && lGood;
        delete lpTaken;
    }
    Report(aState, lUnit->GetSize(), lGood);
}
BENCHMARK(FifoPutGet);

// Inserts range(0) packets, the last one first, and takes them out in their order.
void QueueReorder(State& aState) {
    const auto lUnit = SampleUnit();
    const auto lDepth = static_cast<uint32_t>(aState.range(0));
    PacketQueue lQueue(PFT_QUEUE_SIZE);
    bool lGood = true;
    for (auto _ : aState) {
        for (uint32_t lSequence = lDepth; lSequence > 0; --lSequence)
            lGood = lQueue.Insert(lUnit.get(), lSequence, 0, 1) == 1 && lGood;
        for (uint32_t lExpected = 1; lExpected <= lDepth; ++lExpected) {
            Packet* lpTaken = nullptr;
            uint32_t lSequence = 0;
            uint32_t lIndex = 0;
            uint32_t lExtra = 0;
            lGood = lQueue.GetFirst(&lpTaken, &lSequence, &lIndex, &lExtra) == 1 && lSequence == lExpected && lGood;
        }
    }
    Report(aState, lDepth * lUnit->GetSize(), lGood);
    aState.SetItemsProcessed(aState.iterations() * lDepth);
}
BENCHMARK(QueueReorder)->ArgName("depth")->Arg(1)->Arg(AF_QUEUE_SIZE)->Arg(PFT_QUEUE_SIZE);

// UDPIPLayer asks this before every datagram.  After the first question the daemon has the last two hosts in its list.
void AddressState(State& aState, const char* aHost) {
    platform::SilencePrint();  // silences the probes, which go to this host only
    for (auto _ : aState) {
        auto lState = CNameResolutionDaemon::GetAddressState(aHost);
        DoNotOptimize(lState);
    }
}
BENCHMARK_CAPTURE(AddressState, loopback, "127.0.0.1");
BENCHMARK_CAPTURE(AddressState, multicast, "239.1.2.3");
BENCHMARK_CAPTURE(AddressState, dotted, "127.0.0.2");
BENCHMARK_CAPTURE(AddressState, name, "modulator.invalid");

// The stack

// A transport that hands up the packets that were sent into it.
class MemoryLayer : public Layer {
public:
    MemoryLayer() { ciMaxPacketSize = UDP_MAX_PACKET_SIZE; }

    uint32_t Send(Packet* apPacket) override {
        cPackets.push_back(std::make_unique<Packet>(*apPacket));
        return 1;
    }

    uint32_t Receive(Packet* apOut, uint32_t* /*apTimeOut*/, uint32_t /*aTagIndex*/) override {
        if (cPackets.empty()) {
            // The program ends, because the layers above would go on asking for ever.
            std::fputs("bench_dcp: the stack lost a packet\n", stderr);
            std::exit(1);
        }
        cReceived = std::move(cPackets.front());
        cPackets.pop_front();
        apOut->Share(cReceived.get());
        return 1;
    }

private:
    std::deque<std::unique_ptr<Packet>> cPackets;
    std::unique_ptr<Packet> cReceived;
};

// The AF and PFT layers of an endpoint that works in one direction.
struct Stack {
    Stack(Layer* apTransport, uint32_t aPFTMode) {
        mPFT.SetLowerLayer(apTransport);
        mPFT.SetAddressing(0);
        mPFT.SetMode(aPFTMode);
        mPFT.RegisterTag("AF", nullptr);
        mAF.ciUseCRC = true;
        mAF.SetLowerLayer(&mPFT);
        mAF.RegisterTag("T", nullptr);
    }
    PFTLayer mPFT;
    AFLayer mAF;
};

// Sends, receives and parses a unit.  The unit must fit into one fragment, because the layer sleeps between fragments.
void StackRoundTrip(State& aState) {
    const auto lUnit = SampleUnit();
    const auto lMode = static_cast<uint32_t>(aState.range(0));
    MemoryLayer lTransport;
    Stack lSender(&lTransport, lMode);
    Stack lReceiver(&lTransport, lMode);
    uint32_t lTimeOut = TIME_OUT;
    bool lGood = lUnit->GetSize() + AF_OVERHEAD + PFT_HEADER_SIZE <= UDP_MAX_PACKET_SIZE;
    for (auto _ : aState) {
        MDIUnit lReceived(0, 0, 0);
        lGood = lGood && lSender.mAF.Send(lUnit.get()) == 1 && lReceiver.mAF.Receive(&lReceived, &lTimeOut, 0) == 1 &&
                lReceived.Parse() == 1 && lReceived.GetSize() == lUnit->GetSize();
    }
    Report(aState, lUnit->GetSize(), lGood);
}
BENCHMARK(StackRoundTrip)->ArgName("pft")->Arg(PFT_MODE_NONE)->Arg(PFT_MODE_FRAGMENT);

// Receiving

// A transport that gives the fragments of many packets again and again, one after the other.
class FragmentLayer : public Layer {
public:
    explicit FragmentLayer(uint32_t aFragments) {
        const auto lUnit = SampleUnit();
        const CRC16 lEngine(CRC16_POLYNOMIAL, true);
        const auto lPacket = BuildAF(*lUnit, lEngine, true);
        const uint32_t lSize = (lPacket->GetSize() + aFragments - 1) / aFragments;
        for (uint32_t lPSeq = 0; lPSeq < PACKETS; ++lPSeq) {
            for (uint32_t lIndex = 0; lIndex < aFragments; ++lIndex) {
                const uint32_t lPart = std::min(lSize, lPacket->GetSize() - lIndex * lSize);
                cFragments.push_back(std::make_unique<PFTPacket>(PFT_HEADER_SIZE + lPart));
                cFragments.back()->WritePayload(lPart, lPacket->cData + lIndex * lSize);
                cFragments.back()->SetHeader(static_cast<uint16_t>(lPSeq), lIndex, aFragments);
            }
        }
    }

    uint32_t Send(Packet*) override { return 0; }
    uint32_t Receive(Packet* apOut, uint32_t*, uint32_t) override {
        apOut->Share(cFragments[cNext].get());
        cNext = (cNext + 1) % cFragments.size();
        return 1;
    }

private:
    static constexpr uint32_t PACKETS = 8192;
    std::vector<std::unique_ptr<PFTPacket>> cFragments;
    size_t cNext = 0;
};

// The fixed way of receiving and the live one, side by side, up to the payload of the AF packet.
void Reassemble(State& aState) {
    const auto lFragments = static_cast<uint32_t>(aState.range(1));
    FragmentLayer lTransport(lFragments);
    StackReporter lReporter;
    Stack lStack(&lTransport, PFT_MODE_FRAGMENT);
    lStack.mPFT.ciReporter = &lReporter;
    lStack.mAF.SetFileMode(true);
    if (aState.range(0) == 1) {
        lStack.mPFT.SetLive(false);
        lStack.mAF.ciLive = true;
    }
    Packet lOut(0);
    int64_t lDelivered = 0;
    for (auto _ : aState) {
        uint32_t lTimeOut = TIME_OUT;
        lDelivered += lStack.mAF.Receive(&lOut, &lTimeOut, 0) == 1 ? 1 : 0;
    }
    if (lDelivered < aState.iterations() / 100 * 99)  // the numbering begins anew after PACKETS
        aState.SkipWithError("packets are missing");
    aState.SetItemsProcessed(aState.iterations() * lFragments);
}
BENCHMARK(Reassemble)->ArgNames({"live", "fragments"})->ArgsProduct({{0, 1}, {1, 3, 11}});

}  // namespace

BENCHMARK_MAIN();
