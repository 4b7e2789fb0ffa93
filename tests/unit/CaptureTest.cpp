#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "tests/unit/TestSupport.h"
#include "tools/CaptureTransport.h"
#include "tools/CommandLine.h"

namespace {

// Bytes from their hexadecimal digits, blanks left out.
std::string Hex(const std::string& aDigits) {
    std::string lBytes;
    std::string lByte;
    for (const char lDigit : aDigits) {
        if (lDigit != ' ')
            lByte += lDigit;
        if (lByte.size() == 2) {
            lBytes += static_cast<char>(std::stoi(lByte, nullptr, 16));
            lByte.clear();
        }
    }
    return lBytes;
}

std::string Number(size_t aValue, int aBytes, bool aBigEndian = true) {
    std::string lBytes;
    for (int lByte = 0; lByte < aBytes; ++lByte) {
        const auto lValue = static_cast<char>(aValue >> 8 * lByte);
        lBytes.insert(aBigEndian ? lBytes.begin() : lBytes.end(), lValue);
    }
    return lBytes;
}

const std::string MACS = "02 00 00 00 00 01 02 00 00 00 00 02 ";
// From 10.0.0.1:4096 to 10.0.0.2:5000.
const std::string IP = "4500 0021 1234 0000 4011 0000 0a000001 0a000002 ";
const std::string UDP = "1000 1388 000d 0000 ";
const std::string HELLO = "68 65 6c 6c 6f";
const std::string PACKET = IP + UDP + HELLO;

// A fragment of packet number 0x1234, or of aId: its third word of flags and offset, and its bytes, all in digits.
std::string Fragment(const std::string& aOffset, const std::string& aBytes, const std::string& aId = "1234") {
    const size_t lSize = 20 + Hex(aBytes).size();
    const char DIGITS[] = "0123456789abcdef";
    const std::string lTotal = {DIGITS[lSize >> 12 & 15], DIGITS[lSize >> 8 & 15], DIGITS[lSize >> 4 & 15],
                                DIGITS[lSize & 15]};
    return "4500" + lTotal + aId + aOffset + "4011 0000 0a000001 0a000002" + aBytes;
}

struct Decoded {
    std::string mTexts;   // the datagrams, each with a blank behind it
    std::string mCounts;  // without those of frames and datagrams
};

// Decodes frames of which each takes a second.
Decoded Decode(LinkType aLinkType, const std::vector<std::string>& aFrames, size_t aLeftOut = 0) {
    CaptureDecoder lDecoder(aLinkType, {{0x0A000002}, {5000}});
    Decoded lDecoded;
    CaptureFrame lFrame;
    for (const std::string& lBytes : aFrames) {
        const std::vector<unsigned char> lExact(lBytes.begin(), lBytes.end());  // for the sanitizers
        lFrame.mBytes = lExact;
        lFrame.mWireSize = static_cast<uint32_t>(lBytes.size() + aLeftOut);
        lFrame.mTime += 1'000'000;
        ++lFrame.mNumber;
        CaptureDatagram lDatagram;
        if (lDecoder.Take(lFrame, &lDatagram)) {
            lDecoded.mTexts.append(lDatagram.mData.begin(), lDatagram.mData.end());
            lDecoded.mTexts += ' ';
            EXPECT_EQ(0x0A000001u, lDatagram.mSource);
            EXPECT_EQ(4096, lDatagram.mSourcePort);
            EXPECT_EQ(lFrame.mNumber, lDatagram.mFrame);
        }
    }
    const std::string lCounts = CountsText(lDecoder.GetCounts());
    const size_t lComma = lCounts.find(',', lCounts.find(',') + 1);
    lDecoded.mCounts = lComma == std::string::npos ? "" : lCounts.substr(lComma + 2);
    return lDecoded;
}

TEST(CaptureDecoderTest, FindsDatagramsBehindEveryHeader) {
    constexpr auto ETHERNET = LinkType::ETHERNET;
    constexpr auto COOKED = LinkType::LINUX_COOKED;
    constexpr auto COOKED_2 = LinkType::LINUX_COOKED_2;
    constexpr auto RAW = LinkType::RAW_IP;
    constexpr auto LOOPBACK = LinkType::BSD_LOOPBACK;
    const std::string SLL = "0000 0001 0006 020000000001 0000 ";
    const std::string SLL2 = "0000 00000002 0001 00 06 020000000001 0000 ";
    struct {
        LinkType mLinkType;
        std::string mFrame;
        const char* mText;
        const char* mCounts;
    } const CASES[] = {
        {ETHERNET, MACS + "0800" + PACKET, "hello ", ""},
        {ETHERNET, MACS + "0800" + PACKET + "0000 0000 0000 0000 0000 0000 00", "hello ", ""},  // filled up
        {ETHERNET, MACS + "8100 000a 0800" + PACKET, "hello ", ""},
        {ETHERNET, MACS + "88a8 0014 8100 001e 0800" + PACKET, "hello ", ""},
        {ETHERNET, MACS + "9100 0014 8100 001e 8100 0001 0800" + PACKET, "hello ", ""},
        {COOKED, SLL + "0800" + PACKET, "hello ", ""},
        {COOKED, SLL + "8100 000a 0800" + PACKET, "hello ", ""},
        {COOKED_2, "0800" + SLL2 + PACKET, "hello ", ""},
        {COOKED_2, "0800" + SLL2 + "001e 0800" + PACKET, "hello ", ""},  // an inner tag that the header hides
        {RAW, PACKET, "hello ", ""},
        {LOOPBACK, "02000000" + PACKET, "hello ", ""},
        {LOOPBACK, "00000002" + PACKET, "hello ", ""},
        {RAW, "4600 0025 1234 0000 4011 0000 0a000001 0a000002 01010101" + UDP + HELLO, "hello ", ""},
        {RAW, IP + "1000 1388 000b 0000" + HELLO, "hel ", ""},
        {RAW, IP + "1000 1388 0008 0000" + HELLO, " ", ""},

        {ETHERNET, MACS + "86dd 6000", "", "1 of IPv6"},
        {RAW, "60", "", "1 of IPv6"},
        {LOOPBACK, "1e000000 60", "", "1 of IPv6"},
        {ETHERNET, MACS + "0806 0001", "", "1 of other protocols"},
        {ETHERNET, MACS + "0040" + PACKET, "", "1 of other protocols"},
        {RAW, "4500 0028 1234 0000 4006 0000 0a000001 0a000002" + HELLO, "", "1 of other protocols"},
        {RAW, IP + "1000 1389 000d 0000" + HELLO, "", "1 to other destinations"},
        {RAW, "4500 0021 1234 0000 4011 0000 0a000001 0a000003" + UDP + HELLO, "", "1 to other destinations"},
        {RAW, "4400 0021 1234 0000 4011 0000 0a000001 0a000002" + UDP + HELLO, "", "1 damaged"},
        {RAW, "4500 0013 1234 0000 4011 0000 0a000001 0a000002" + UDP + HELLO, "", "1 damaged"},
        {RAW, "4500 0022 1234 0000 4011 0000 0a000001 0a000002" + UDP + HELLO, "", "1 damaged"},
        {RAW, IP + "1000 1388 0007 0000" + HELLO, "", "1 damaged"},
        {RAW, IP + "1000 1388 000e 0000" + HELLO, "", "1 damaged"},
        {ETHERNET, MACS + "0800 5500 0021 1234 0000 4011 0000 0a000001 0a000002" + UDP + HELLO, "", "1 damaged"},
    };
    for (const auto& lCase : CASES) {
        const Decoded lDecoded = Decode(lCase.mLinkType, {Hex(lCase.mFrame)});
        EXPECT_EQ(lCase.mText, lDecoded.mTexts) << lCase.mFrame;
        EXPECT_EQ(lCase.mCounts, lDecoded.mCounts) << lCase.mFrame;
    }
}

TEST(CaptureDecoderTest, CountsEveryFrameThatIsCutShort) {
    const std::string lFrame = Hex(MACS + "88a8 0014 8100 001e 0800" + PACKET);
    for (size_t lSize = 0; lSize < lFrame.size(); ++lSize) {
        const std::vector<std::string> lCut = {lFrame.substr(0, lSize)};
        EXPECT_EQ("1 cut by the snapshot length", Decode(LinkType::ETHERNET, lCut, 1).mCounts) << lSize;
        EXPECT_EQ("1 damaged", Decode(LinkType::ETHERNET, lCut, 0).mCounts) << lSize;
    }
    const std::string lOtherPort = Hex(IP + "1000 1389 000d 0000" + HELLO);
    EXPECT_EQ("1 to other destinations", Decode(LinkType::RAW_IP, {lOtherPort.substr(0, 30)}, 3).mCounts);
}

// The datagram "0123456789abcdefghij" in fragments of 8, 16 and 4 bytes.
TEST(CaptureDecoderTest, PutsFragmentsTogether) {
    const std::string FIRST = Fragment("2000", "1000 1388 001c 0000");
    const std::string MIDDLE = Fragment("2001", "3031323334353637 3839616263646566");
    const std::string LAST = Fragment("0003", "6768696a");
    const std::string OTHER_LAST = Fragment("0003", "51525354");
    const std::string OVERLAP = Fragment("2000", "1000 1388 001c 0000 3031323334353637");
    const std::string WHOLE = "0123456789abcdefghij ";
    struct {
        std::vector<std::string> mFrames;
        std::string mTexts;
        const char* mCounts;
    } const CASES[] = {
        {{FIRST, MIDDLE, LAST}, WHOLE, ""},
        {{LAST, MIDDLE, FIRST}, WHOLE, ""},
        {{MIDDLE, LAST, MIDDLE, FIRST, FIRST}, WHOLE, ""},
        {{LAST, OVERLAP, MIDDLE}, WHOLE, ""},
        {{FIRST, MIDDLE, Fragment("2000", "1000 1388 0010 0000", "1235"), LAST,
          Fragment("0001", "3132333435363738", "1235")},
         WHOLE + "12345678 ",
         ""},
        // Contradictions: other bytes, an end before bytes that came, bytes behind the end.
        {{FIRST, OTHER_LAST, LAST, FIRST, MIDDLE}, WHOLE, "1 fragmented and never whole"},
        {{MIDDLE, Fragment("0002", "3031"), MIDDLE, FIRST, LAST}, WHOLE, "2 fragmented and never whole"},
        {{Fragment("0002", "3031"), MIDDLE, FIRST, LAST}, WHOLE, "1 fragmented and never whole"},
        {{FIRST, LAST}, "", "1 fragmented and never whole"},
        {{FIRST, MIDDLE, LAST, Fragment("2000", "1000 1388 001c 0001"), MIDDLE, LAST}, WHOLE + WHOLE, ""},
        // Lies about lengths.
        {{Fragment("2000", "1000 1388 001c 0000 30")}, "", "1 damaged"},
        {{Fragment("2000", "")}, "", "1 damaged"},
        {{Fragment("1ffe", "3031323334353637")}, "", "1 damaged"},
        {{Fragment("1ffd", "303132")}, "", "1 fragmented and never whole"},
        {{Fragment("2000", "1000 1388 001d 0000"), MIDDLE, LAST}, "", "1 damaged"},
    };
    for (const auto& lCase : CASES) {
        std::vector<std::string> lFrames;
        for (const std::string& lFrame : lCase.mFrames)
            lFrames.push_back(Hex(lFrame));
        const Decoded lDecoded = Decode(LinkType::RAW_IP, lFrames);
        const auto lNumber = &lCase - CASES;
        EXPECT_EQ(lCase.mTexts, lDecoded.mTexts) << "case " << lNumber;
        EXPECT_EQ(lCase.mCounts, lDecoded.mCounts) << "case " << lNumber;
    }
}

// A packet that lacks a fragment is given up for newer ones that lack one, or after some time, but not for whole ones.
TEST(CaptureDecoderTest, GivesUpTheOldestFragments) {
    const std::string FIRST = Hex(Fragment("2000", "1000 1388 0010 0000"));
    const std::string LAST = Hex(Fragment("0001", "3132333435363738"));
    struct {
        size_t mOthers;   // packets that come between the two fragments
        bool mWhole;      // both fragments of each, or only the first
        uint64_t mPause;  // between packets, in milliseconds
        bool mKept;
    } const CASES[] = {{63, false, 0, true},
                       {64, false, 0, false},
                       {200, true, 0, true},
                       {28, true, 1000, true},
                       {30, true, 1000, false}};
    for (const auto& lCase : CASES) {
        CaptureDecoder lDecoder(LinkType::RAW_IP, {});
        uint64_t lTime = 0;
        CaptureDatagram lDatagram;
        const auto Take = [&](std::string aBytes, size_t aId) {
            aBytes.replace(4, 2, Number(aId, 2));
            return lDecoder.Take({{Octets(aBytes), aBytes.size()}, 0, lTime, 0}, &lDatagram);
        };
        Take(FIRST, 1000);
        for (size_t lOther = 0; lOther < lCase.mOthers; ++lOther) {
            lTime += lCase.mPause * 1000;
            Take(FIRST, lOther);
            EXPECT_EQ(lCase.mWhole, lCase.mWhole && Take(LAST, lOther));
        }
        lTime += lCase.mPause * 1000;
        EXPECT_EQ(lCase.mKept, Take(LAST, 1000)) << lCase.mOthers << " others, pause " << lCase.mPause;
    }
}

TEST(CaptureAddressTest, ReadsFileAndOptions) {
    struct {
        const char* mText;
        const char* mRead;  // file, port and host, or nothing
    } const CASES[] = {
        {"pcap:a b:c.pcap", "a b:c.pcap 0 0"},
        {"pcap:-?port=5000", "- 5000 0"},
        {"pcap:a?host=239.1.2.3&port=65535", "a 65535 4009820675"},
        {"pcap:a?host=255.255.255.255", "a 0 4294967295"},
        {"pcap:a?", "a 0 0"},
        {"pcap:", ""},
        {"pcap:?port=1", ""},
        {"a.pcap", ""},
        {"pcap:a?port=0", ""},
        {"pcap:a?port=65536", ""},
        {"pcap:a?port=5000x", ""},
        {"pcap:a?port=", ""},
        {"pcap:a?port=1&port=2", ""},
        {"pcap:a?host=1.2.3", ""},
        {"pcap:a?host=", ""},
        {"pcap:a?host=1.2.3.4&host=1.2.3.4", ""},
        {"pcap:a?live=1", ""},
        {"pcap:a?port=1&&host=1.2.3.4", ""},
    };
    for (const auto& lCase : CASES) {
        CaptureAddress lAddress;
        std::string lError;
        std::string lRead;
        if (lAddress.Parse(lCase.mText, &lError)) {
            lRead = lAddress.mFile + " " + std::to_string(lAddress.mFilter.mPort.value_or(0)) + " " +
                    std::to_string(lAddress.mFilter.mHost.value_or(0));
        }
        EXPECT_EQ(lCase.mRead, lRead) << lCase.mText;
        EXPECT_EQ(lRead.empty(), !lError.empty()) << lCase.mText;
    }
}

// An AF packet without CRC and a PFT fragment, each the only one of its stream.
const std::string AF = "4146 00000000 0001 10 54 0000";
const std::string PF = "5046 0000 000000 000001 0001 0326 41";

std::string ToPort(const std::string& aPort, const std::string& aPayload) {
    const std::string lPayload = Hex(aPayload);
    return Hex(MACS + "0800 4500") + Number(28 + lPayload.size(), 2) +
           Hex("1234 0000 4011 0000 0a000001 0a000002 1000" + aPort) + Number(8 + lPayload.size(), 2) + Hex("0000") +
           lPayload;
}

// Ethernet frames as a file; each is a second and 1.5 microseconds later than the one before.
std::string Pcap(const std::vector<std::string>& aFrames, bool aNanoseconds) {
    std::string lFile = Number(aNanoseconds ? 0xA1B23C4D : 0xA1B2C3D4, 4, aNanoseconds) + Number(2, 2, aNanoseconds) +
                        Number(4, 2, aNanoseconds) + std::string(8, '\0') + Number(65535, 4, aNanoseconds) +
                        Number(1, 4, aNanoseconds);
    for (size_t lIndex = 0; lIndex < aFrames.size(); ++lIndex) {
        const size_t lFraction = lIndex * (aNanoseconds ? 1500 : 2);
        for (const size_t lField : {1700000000 + lIndex, lFraction, aFrames[lIndex].size(), aFrames[lIndex].size()})
            lFile += Number(lField, 4, aNanoseconds);
        lFile += aFrames[lIndex];
    }
    return lFile;
}

std::string Block(size_t aType, std::string aBody) {
    aBody.resize((aBody.size() + 3) / 4 * 4);
    const std::string lSize = Number(aBody.size() + 12, 4, false);
    return Number(aType, 4, false) + lSize + aBody + lSize;
}

// The same as pcapng, on interfaces of the given link types, of which the first one captured.
std::string PcapNg(const std::vector<std::string>& aFrames, const std::vector<size_t>& aLinkTypes) {
    std::string lFile = Block(0x0A0D0D0A, Hex("4d3c2b1a 0100 0000 ffffffffffffffff"));
    for (const size_t lLinkType : aLinkTypes)
        lFile += Block(1, Number(lLinkType, 4, false) + Number(65535, 4, false));
    for (size_t lIndex = 0; lIndex < aFrames.size(); ++lIndex) {
        const size_t lTime = (1700000000 + lIndex) * 1000000 + lIndex * 2;
        std::string lBody;
        for (const size_t lField : {size_t{0}, lTime >> 32, lTime, aFrames[lIndex].size(), aFrames[lIndex].size()})
            lBody += Number(lField, 4, false);
        lFile += Block(6, lBody + aFrames[lIndex]);
    }
    return lFile;
}

class CaptureSourceTest : public testing::Test {
protected:
    // Reads a capture to its end: the sizes, times behind the first second and frames of its datagrams, then the
    // damage.
    std::string ReadAll(const std::string& aFile, const std::string& aOptions = "") {
        std::ofstream("capture", std::ios::binary) << aFile;
        CaptureSource lSource;
        std::string lRead;
        cStatus = lSource.Open("pcap:capture" + aOptions, &lRead);
        if (cStatus != STATUS_DONE)
            return lRead;
        CaptureDatagram lDatagram;
        while (lSource.Read(&lDatagram)) {
            lRead += std::to_string(lDatagram.mData.size()) + " at " +
                     std::to_string(lDatagram.mTime - 1'700'000'000'000'000) + " in " +
                     std::to_string(lDatagram.mFrame) + "; ";
        }
        EXPECT_FALSE(lSource.Read(&lDatagram));
        return lRead + lSource.GetDamage();
    }

    TestDirectory cDirectory;
    int cStatus = 0;
};

TEST_F(CaptureSourceTest, ReadsPcapAndPcapng) {
    const std::vector<std::string> lFrames = {ToPort("1388", AF), Hex(MACS + "86dd"), ToPort("1388", PF),
                                              ToPort("1389", "41 46")};
    const std::string lTold = "12 at 0 in 1; 15 at 2000004 in 3; ";
    EXPECT_EQ(lTold, ReadAll(Pcap(lFrames, false)));
    EXPECT_EQ("12 at 0 in 1; 15 at 2000003 in 3; ", ReadAll(Pcap(lFrames, true), "?port=5000&host=10.0.0.2"));
    EXPECT_EQ(lTold, ReadAll(PcapNg(lFrames, {1, 1})));
    EXPECT_EQ("2 at 3000006 in 4; ", ReadAll(PcapNg(lFrames, {1}), "?port=5001"));
}

TEST_F(CaptureSourceTest, AsksForTheStreamWhenThereAreSeveral) {
    const std::vector<std::string> lFrames = {ToPort("1388", AF), ToPort("1388", PF), ToPort("1389", PF)};
    const std::string lList = ReadAll(Pcap(lFrames, false));
    EXPECT_EQ(STATUS_USAGE, cStatus);
    EXPECT_NE(std::string::npos, lList.find("\n  10.0.0.2:5000  AF+PF  2 datagrams\n  10.0.0.2:5001  PF  1 datagram"))
        << lList;
    ReadAll(Pcap({ToPort("1388", "4146")}, false));
    EXPECT_EQ(STATUS_FAILED, cStatus);
}

TEST_F(CaptureSourceTest, TellsWhatCannotBeRead) {
    const std::vector<std::string> lFrames = {ToPort("1388", AF), ToPort("1388", PF)};
    for (const std::string& lFile : {Pcap(lFrames, false), PcapNg(lFrames, {1})}) {
        const std::string lWhole = ReadAll(lFile);
        size_t lDamaged = 0;
        for (size_t lSize = 0; lSize < lFile.size(); lSize += 3) {
            const std::string lRead = ReadAll(lFile.substr(0, lSize), "?port=5000");
            const size_t lDamage = lRead.find("behind frame ");
            lDamaged += lDamage != std::string::npos ? 1 : 0;
            EXPECT_EQ(0, cStatus == STATUS_DONE ? lWhole.compare(0, std::min(lDamage, lRead.size()), lRead, 0, lDamage)
                                                : lRead.find("capture cannot be read as a capture: "))
                << lSize << ": " << lRead;
        }
        EXPECT_LT(lFile.size() / 6, lDamaged);
    }
    EXPECT_EQ(
        "behind frame 0: an interface has a type 113 different from the type of the first interface; a capture of "
        "one interface, or of all by -i any, can be read",
        ReadAll(PcapNg(lFrames, {1, 113}), "?port=5000"));
    EXPECT_NE(std::string::npos, ReadAll("no capture").find("unknown file format"));
    EXPECT_EQ(STATUS_FAILED, cStatus);
}

// Writes down what a transport reports: event, frame, sender and seconds.
struct Notes : StackObserver {
    explicit Notes(Layer& aLayer) {
        cReporter.SetObserver(this);
        aLayer.ciReporter = &cReporter;
    }
    void Observe(const StackReport& aReport) override {
        const char* const lpEvent = aReport.mEvent == StackEvent::INPUT_TAKEN     ? "taken"
                                    : aReport.mEvent == StackEvent::INPUT_FOREIGN ? "foreign"
                                                                                  : "failed";
        const InputPlace& lInput = aReport.mInput;
        cText += std::string(lpEvent) + " in " + std::to_string(lInput.mRecord) + " from " + HostText(lInput.mAddress) +
                 ":" + std::to_string(lInput.mPort) + " at " + std::to_string(lInput.mTime / 1000000) + "\n";
    }

    std::string cText;
    StackReporter cReporter;
};

TEST_F(CaptureSourceTest, HandsUpDatagramsWithTimeAndSender) {
    std::string lFile = Pcap({ToPort("1388", AF), ToPort("1388", "50"), ToPort("1388", PF), ToPort("1388", AF)}, false);
    const size_t lSecondFrame = 24 + 16 + ToPort("1388", AF).size();
    lFile.replace(lSecondFrame, 4, Number(1600000000, 4, false));
    std::ofstream("capture", std::ios::binary) << lFile.substr(0, lFile.size() - 1);
    CaptureTransport lTransport;
    std::string lError;
    ASSERT_EQ(STATUS_DONE, lTransport.Open("pcap:capture", &lError)) << lError;
    lTransport.RegisterTag("AF", nullptr);
    lTransport.RegisterTag("PF", nullptr);
    const Notes lNotes(lTransport);
    Packet lOut(0);
    uint32_t lTimeOut = 0;
    for (const std::string& lSent : {AF, PF}) {
        ASSERT_EQ(1u, lTransport.Receive(&lOut, &lTimeOut, 0));
        EXPECT_EQ(Hex(lSent), std::string(reinterpret_cast<char*>(lOut.cData), lOut.GetSize()));
        EXPECT_EQ(Hex(lSent).substr(0, 2), lOut.cProtocol);
        EXPECT_FALSE(lTransport.ciAtEnd);
    }
    EXPECT_EQ(2u, lTransport.Receive(&lOut, &lTimeOut, 0));
    EXPECT_TRUE(lTransport.ciAtEnd);
    EXPECT_EQ(
        "taken in 1 from 10.0.0.1:4096 at 1700000000\n"
        "foreign in 2 from 10.0.0.1:4096 at 1700000000\n"
        "taken in 3 from 10.0.0.1:4096 at 1700000002\n"
        "failed in 3 from 10.0.0.1:4096 at 1700000002\n",
        lNotes.cText);
}

}  // namespace
