#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "tests/unit/TestSupport.h"
#include "tools/CaptureTransport.h"
#include "tools/CommandLine.h"

namespace {

// Bytes from their hexadecimal digits, blanks left out.
std::string Hex(std::string aDigits) {
    std::erase(aDigits, ' ');
    std::string lBytes;
    for (size_t lPlace = 0; lPlace < aDigits.size(); lPlace += 2)
        lBytes += static_cast<char>(std::stoi(aDigits.substr(lPlace, 2), nullptr, 16));
    return lBytes;
}

std::string Number(size_t aValue, size_t aBytes, bool aBigEndian = true) {
    std::string lBytes;
    for (size_t lByte = 0; lByte < aBytes; ++lByte)
        lBytes += static_cast<char>(aValue >> 8 * (aBigEndian ? aBytes - 1 - lByte : lByte));
    return lBytes;
}

const std::string MACS = Hex("02 00 00 00 00 01 02 00 00 00 00 02");
const std::string HOSTS = "0a000001 0a000002";  // from 10.0.0.1 to 10.0.0.2

// An IPv4 packet of UDP, or a fragment of one, by its third word's flags and offset and by the digits of its payload.
std::string Ip(const std::string& aPayload, const std::string& aOffset = "0000", const std::string& aId = "1234") {
    const std::string lPayload = Hex(aPayload);
    return Hex("4500") + Number(20 + lPayload.size(), 2) + Hex(aId + aOffset + "4011 0000" + HOSTS) + lPayload;
}

const std::string UDP = "1000 1388 000d 0000";  // from port 4096 to port 5000
const std::string HELLO = "68 65 6c 6c 6f";
const std::string PACKET = Ip(UDP + HELLO);

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
    const std::string SLL = "0000 0001 0006 020000000001 0000";
    const std::string SLL2 = "0800 0000 00000002 0001 00 06 020000000001 0000";
    const auto Raw = [](const std::string& aIp) { return Hex(aIp + UDP + HELLO); };
    struct {
        LinkType mLinkType;
        std::string mFrame;
        const char* mText;
        const char* mCounts;
    } const CASES[] = {
        {ETHERNET, MACS + Hex("0800") + PACKET + std::string(13, '\0'), "hello ", ""},  // filled up
        {ETHERNET, MACS + Hex("9100 0014 88a8 001e 8100 0001 0800") + PACKET, "hello ", ""},
        {COOKED, Hex(SLL + "8100 000a 0800") + PACKET, "hello ", ""},
        {COOKED_2, Hex(SLL2 + "401e 8100 0007 0800") + PACKET, "hello ", ""},  // inner tags that the header hides
        {RAW, PACKET, "hello ", ""},
        {LOOPBACK, Hex("02000000") + PACKET, "hello ", ""},
        {LOOPBACK, Hex("00000002") + PACKET, "hello ", ""},
        {RAW, Raw("4600 0025 1234 0000 4011 0000" + HOSTS + "01010101"), "hello ", ""},
        {RAW, Ip("1000 1388 000b 0000" + HELLO), "hel ", ""},
        {RAW, Ip("1000 1388 0008 0000" + HELLO), " ", ""},

        {ETHERNET, MACS + Hex("86dd 6000"), "", "1 of IPv6"},
        {RAW, Hex("60"), "", "1 of IPv6"},
        {LOOPBACK, Hex("1e000000 60"), "", "1 of IPv6"},
        {ETHERNET, MACS + Hex("0040") + PACKET, "", "1 of other protocols"},
        {RAW, Raw("4500 0021 1234 0000 4006 0000" + HOSTS), "", "1 of other protocols"},
        {RAW, Ip("1000 1389 000d 0000" + HELLO), "", "1 to other destinations"},
        {RAW, Raw("4500 0021 1234 0000 4011 0000 0a000001 0a000003"), "", "1 to other destinations"},
        {RAW, Raw("4400 0021 1234 0000 4011 0000" + HOSTS), "", "1 damaged"},
        {RAW, Raw("4500 0013 1234 0000 4011 0000" + HOSTS), "", "1 damaged"},
        {RAW, Raw("4500 0022 1234 0000 4011 0000" + HOSTS), "", "1 damaged"},
        {RAW, Ip("1000 1388 0007 0000" + HELLO), "", "1 damaged"},
        {RAW, Ip("1000 1388 000e 0000" + HELLO), "", "1 damaged"},
        {ETHERNET, MACS + Raw("0800 5500 0021 1234 0000 4011 0000" + HOSTS), "", "1 damaged"},
    };
    for (const auto& lCase : CASES) {
        const Decoded lDecoded = Decode(lCase.mLinkType, {lCase.mFrame});
        EXPECT_EQ(lCase.mText, lDecoded.mTexts) << "case " << &lCase - CASES;
        EXPECT_EQ(lCase.mCounts, lDecoded.mCounts) << "case " << &lCase - CASES;
    }
}

TEST(CaptureDecoderTest, CountsEveryFrameThatIsCutShort) {
    const std::string lFrame = MACS + Hex("88a8 0014 8100 001e 0800") + PACKET;
    for (size_t lSize = 0; lSize < lFrame.size(); ++lSize) {
        const std::vector<std::string> lCut = {lFrame.substr(0, lSize)};
        EXPECT_EQ("1 cut by the snapshot length", Decode(LinkType::ETHERNET, lCut, 1).mCounts) << lSize;
        EXPECT_EQ("1 damaged", Decode(LinkType::ETHERNET, lCut, 0).mCounts) << lSize;
    }
    const std::string lOtherPort = Ip("1000 1389 000d 0000" + HELLO);
    EXPECT_EQ("1 to other destinations", Decode(LinkType::RAW_IP, {lOtherPort.substr(0, 30)}, 3).mCounts);
}

// The datagram "0123456789abcdefghij" in fragments of 8, 16 and 4 bytes.
TEST(CaptureDecoderTest, PutsFragmentsTogether) {
    const std::string FIRST = Ip("1000 1388 001c 0000", "2000");
    const std::string MIDDLE = Ip("3031323334353637 3839616263646566", "2001");
    const std::string LAST = Ip("6768696a", "0003");
    const std::string EARLY_LAST = Ip("3031", "0002");
    const std::string OVERLAP = Ip("1000 1388 001c 0000 3031323334353637", "2000");
    const std::string OTHER_FIRST = Ip("1000 1388 0010 0000", "2000", "1235");
    const std::string OTHER_LAST = Ip("3132333435363738", "0001", "1235");
    const std::string WHOLE = "0123456789abcdefghij ";
    struct {
        std::vector<std::string> mFrames;
        std::string mTexts;
        const char* mCounts;
    } const CASES[] = {
        {{LAST, MIDDLE, FIRST}, WHOLE, ""},
        {{MIDDLE, LAST, MIDDLE, FIRST, FIRST}, WHOLE, ""},
        {{LAST, OVERLAP, MIDDLE}, WHOLE, ""},
        {{FIRST, MIDDLE, OTHER_FIRST, LAST, OTHER_LAST}, WHOLE + "12345678 ", ""},
        // Contradictions: other bytes, an end before bytes that came, bytes behind the end.
        {{FIRST, Ip("51525354", "0003"), LAST, FIRST, MIDDLE}, WHOLE, "1 fragmented and never whole"},
        {{MIDDLE, EARLY_LAST, MIDDLE, FIRST, LAST}, WHOLE, "2 fragmented and never whole"},
        {{EARLY_LAST, MIDDLE, FIRST, LAST}, WHOLE, "1 fragmented and never whole"},
        {{FIRST, MIDDLE, LAST, Ip("1000 1388 001c 0001", "2000"), MIDDLE, LAST}, WHOLE + WHOLE, ""},
        // Lies about lengths.
        {{Ip("1000 1388 001c 0000 30", "2000")}, "", "1 damaged"},
        {{Ip("", "2000")}, "", "1 damaged"},
        {{Ip("3031323334353637", "1ffe")}, "", "1 damaged"},
        {{Ip("303132", "1ffd")}, "", "1 fragmented and never whole"},
        {{Ip("1000 1388 001d 0000", "2000"), MIDDLE, LAST}, "", "1 damaged"},
    };
    for (const auto& lCase : CASES) {
        const Decoded lDecoded = Decode(LinkType::RAW_IP, lCase.mFrames);
        EXPECT_EQ(lCase.mTexts, lDecoded.mTexts) << "case " << &lCase - CASES;
        EXPECT_EQ(lCase.mCounts, lDecoded.mCounts) << "case " << &lCase - CASES;
    }
}

// A packet that lacks a fragment is given up for newer ones that lack one, or after some time, but not for whole ones.
TEST(CaptureDecoderTest, GivesUpTheOldestFragments) {
    const std::string FIRST = Ip("1000 1388 0010 0000", "2000");
    const std::string LAST = Ip("3132333435363738", "0001");
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
    const struct {
        const char* mText;
        const char* mRead;  // file, port and host
    } CASES[] = {{"pcap:a b:c.pcap", "a b:c.pcap 0 0"},
                 {"pcap:-?port=5000", "- 5000 0"},
                 {"pcap:a?host=239.1.2.3&port=65535", "a 65535 4009820675"},
                 {"pcap:a?host=255.255.255.255", "a 0 4294967295"},
                 {"pcap:a?", "a 0 0"}};
    CaptureAddress lAddress;
    std::string lError;
    for (const auto& lCase : CASES) {
        EXPECT_TRUE(lAddress.Parse(lCase.mText, &lError)) << lError;
        EXPECT_EQ(lCase.mRead, lAddress.mFile + " " + std::to_string(lAddress.mFilter.mPort.value_or(0)) + " " +
                                   std::to_string(lAddress.mFilter.mHost.value_or(0)));
    }
    for (const char* const lpWrong :
         {"pcap:?port=1", "a.pcap", "pcap:a?port=0", "pcap:a?port=65536", "pcap:a?port=5000x", "pcap:a?port=1&port=2",
          "pcap:a?host=1.2.3", "pcap:a?host=1.2.3.4&host=1.2.3.4", "pcap:a?live=1"}) {
        lError.clear();
        EXPECT_FALSE(lAddress.Parse(lpWrong, &lError)) << lpWrong;
        EXPECT_FALSE(lError.empty()) << lpWrong;
    }
}

// An AF packet without CRC and a PFT fragment, each the only one of its stream.
const std::string AF = "4146 00000000 0001 10 54 0000";
const std::string PF = "5046 0000 000000 000001 0001 0326 41";

std::string ToPort(size_t aPort, const std::string& aPayload) {
    std::string lFrame = MACS + Hex("0800") + Ip("1000 0000 0000 0000" + aPayload);
    return lFrame.replace(36, 4, Number(aPort, 2) + Number(lFrame.size() - 34, 2));
}

// Ethernet frames as a file; each is a second and 1.5 microseconds later than the one before.
std::string Pcap(const std::vector<std::string>& aFrames, bool aNanoseconds) {
    std::string lFile;
    const auto Add = [&](size_t aValue, size_t aBytes = 4) { lFile += Number(aValue, aBytes, aNanoseconds); };
    Add(aNanoseconds ? 0xA1B23C4D : 0xA1B2C3D4);
    Add(2, 2), Add(4, 2), Add(0, 8), Add(65535), Add(1);
    for (size_t lIndex = 0; lIndex < aFrames.size(); ++lIndex) {
        Add(1700000000 + lIndex), Add(lIndex * (aNanoseconds ? 1500 : 2));
        Add(aFrames[lIndex].size()), Add(aFrames[lIndex].size());
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

class CaptureTransportTest : public testing::Test, protected StackObserver {
protected:
    // Reads a capture to its end: what is reported, with each datagram's protocol and size, then the damage; or the
    // reason why it is not read.  Times are microseconds behind the first frame's.
    std::string ReadAll(const std::string& aFile, const std::string& aOptions = "") {
        std::ofstream("capture", std::ios::binary) << aFile;
        CaptureTransport lTransport;
        cRead.clear();
        cStatus = lTransport.Open("pcap:capture" + aOptions, &cRead);
        if (cStatus != STATUS_DONE)
            return cRead;
        lTransport.RegisterTag("AF", nullptr);
        lTransport.RegisterTag("PF", nullptr);
        StackReporter lReporter;
        lReporter.SetObserver(this);
        lTransport.ciReporter = &lReporter;
        Packet lOut(0);
        uint32_t lTimeOut = 0;
        while (lTransport.Receive(&lOut, &lTimeOut, 0) == 1) {
            EXPECT_EQ(std::string(lOut.cData, lOut.cData + 2), lOut.cProtocol);
            cRead += lOut.cProtocol + std::to_string(lOut.GetSize()) + "; ";
            EXPECT_FALSE(lTransport.ciAtEnd);
        }
        EXPECT_TRUE(lTransport.ciAtEnd);
        return cRead + lTransport.GetSource().GetDamage();
    }

    void Observe(const StackReport& aReport) override {
        const InputPlace& lInput = aReport.mInput;
        if (aReport.mEvent == StackEvent::RECORDING_FAILED) {
            cRead += "failed ";
            return;
        }
        EXPECT_EQ("10.0.0.1:4096", HostText(lInput.mAddress) + ":" + std::to_string(lInput.mPort));
        cRead += std::to_string(lInput.mRecord) + " at " + std::to_string(lInput.mTime - 1'700'000'000'000'000) +
                 (aReport.mEvent == StackEvent::INPUT_TAKEN ? ": " : " foreign; ");
    }

    const TestDirectory cDirectory;
    std::string cRead;
    int cStatus = 0;
};

TEST_F(CaptureTransportTest, ReadsPcapAndPcapng) {
    const std::vector<std::string> lFrames = {ToPort(5000, AF), MACS + Hex("86dd"), ToPort(5000, PF),
                                              ToPort(5001, "41 46")};
    const std::string lTold = "1 at 0: AF12; 3 at 2000004: PF15; ";
    EXPECT_EQ(lTold, ReadAll(Pcap(lFrames, false)));
    EXPECT_EQ("1 at 0: AF12; 3 at 2000003: PF15; ", ReadAll(Pcap(lFrames, true), "?port=5000&host=10.0.0.2"));
    EXPECT_EQ(lTold, ReadAll(PcapNg(lFrames, {1, 1})));
    EXPECT_EQ("4 at 3000006: AF2; ", ReadAll(PcapNg(lFrames, {1}), "?port=5001"));

    std::string lBack = Pcap({ToPort(5000, AF), ToPort(5000, "50"), ToPort(5000, PF)}, false);
    lBack.replace(24 + 16 + ToPort(5000, AF).size(), 4, Number(1600000000, 4, false));
    EXPECT_EQ("1 at 0: AF12; 2 at 0 foreign; 3 at 2000004: PF15; ", ReadAll(lBack));
}

TEST_F(CaptureTransportTest, AsksForTheStreamWhenThereAreSeveral) {
    const std::string lList = ReadAll(Pcap({ToPort(5000, AF), ToPort(5000, PF), ToPort(5001, PF)}, false));
    EXPECT_EQ(STATUS_USAGE, cStatus);
    EXPECT_TRUE(lList.ends_with("\n  10.0.0.2:5000  AF+PF  2 datagrams\n  10.0.0.2:5001  PF  1 datagram")) << lList;
    ReadAll(Pcap({ToPort(5000, "4146")}, false));
    EXPECT_EQ(STATUS_FAILED, cStatus);
}

TEST_F(CaptureTransportTest, TellsWhatCannotBeRead) {
    const std::vector<std::string> lFrames = {ToPort(5000, AF), ToPort(5000, PF)};
    for (const std::string& lFile : {Pcap(lFrames, false), PcapNg(lFrames, {1})}) {
        const std::string lWhole = ReadAll(lFile);
        size_t lDamaged = 0;
        for (size_t lSize = 0; lSize < lFile.size(); lSize += 3) {
            const std::string lRead = ReadAll(lFile.substr(0, lSize), "?port=5000");
            const size_t lEnd = lRead.find("failed behind frame ");
            lDamaged += lEnd != std::string::npos ? 1 : 0;
            EXPECT_TRUE(cStatus == STATUS_DONE ? lWhole.starts_with(lRead.substr(0, lEnd))
                                               : lRead.starts_with("capture cannot be read as a capture: "))
                << lSize << ": " << lRead;
        }
        EXPECT_LT(lFile.size() / 6, lDamaged);
    }
    EXPECT_TRUE(ReadAll(PcapNg(lFrames, {1, 113}), "?port=5000").ends_with("all by -i any, can be read")) << cRead;
}

}  // namespace
