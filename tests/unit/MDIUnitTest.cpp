#include "Networking/MDIUnit.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "Networking/StatusCodes.h"

namespace {

using namespace std::string_literals;

// An item as it is on the wire.
std::string Item(const std::string& aName, unsigned aBits, const std::string& aValue) {
    return aName + "\0\0"s + static_cast<char>(aBits / 256) + static_cast<char>(aBits % 256) + aValue;
}

const std::string PTR = Item("*ptr", 64, "DMDI\0\1\0\2"s);
const std::string DLFC = Item("dlfc", 32, "\1\2\3\4");
const std::string FAC = Item("fac_", 72, "FACvalue9");
const std::string SDC = Item("sdc_", 17, "SD\x80");
const std::string SDCI = Item("sdci", 12, "CI");
const std::string ROBM = Item("robm", 8, "\1");
const std::string STR2 = Item("str2", 24, "two");
const std::string TIST = Item("tist", 64, "TISTtist");
const std::string INFO = Item("info", 40, "hello");

// A packet that owns a copy of exactly these bytes.
Packet Owner(const std::string& aBytes) {
    Packet lOwner(static_cast<uint32_t>(aBytes.size()));
    lOwner.Write(lOwner.cCapacity, reinterpret_cast<const unsigned char*>(aBytes.data()));
    return lOwner;
}

struct Unit : MDIUnit {
    explicit Unit(const std::string& aBytes) : MDIUnit(0, 0, 0), mOwner(Owner(aBytes)) { Share(&mOwner); }
    Packet mOwner;
};

std::string Text(const Packet& aPacket) {
    return std::string(reinterpret_cast<char*>(aPacket.cData), aPacket.cSize);
}

const unsigned char* Value(const char* apText) {
    return reinterpret_cast<const unsigned char*>(apText);
}

// What a getter of this shape gives, as "bits:value"; "none" when it refuses.
std::string Got(const std::function<uint32_t(uint32_t*, unsigned char*)>& aGetter) {
    unsigned char lValue[16] = {};
    uint32_t lBits = 0;
    if (aGetter(&lBits, lValue) == 0)
        return lBits == 0 && lValue[0] == 0 ? "none" : "changed";
    return std::to_string(lBits) + ":" + reinterpret_cast<char*>(lValue);
}

// Everything that the getters give.
std::vector<std::string> AllOf(const MDIUnit& aUnit) {
    std::vector<std::string> lAll = {
        Got([&](uint32_t* apBits, unsigned char*) { return aUnit.GetDlfc(apBits); }),
        Got([&](uint32_t*, unsigned char* apOut) { return aUnit.GetFac(apOut); }),
        Got([&](uint32_t* apBits, unsigned char* apOut) { return aUnit.GetSdc(apBits, apOut); }),
        Got([&](uint32_t* apBits, unsigned char* apOut) { return aUnit.GetSdci(apBits, apOut); }),
        Got([&](uint32_t*, unsigned char* apOut) { return aUnit.GetRobm(apOut); }),
        Got([&](uint32_t*, unsigned char* apOut) { return aUnit.GetTist(apOut); }),
        Got([&](uint32_t* apBits, unsigned char* apOut) { return aUnit.GetInfo(apBits, apOut); })};
    for (uint16_t lIndex = 0; lIndex < 5; ++lIndex)
        lAll.push_back(
            Got([&](uint32_t* apBits, unsigned char* apOut) { return aUnit.GetStream(lIndex, apBits, apOut); }));
    return lAll;
}

const std::vector<std::string> ALL = {"16909060:", "0:FACvalue9", "17:SD\x80", "12:CI",  "0:\1", "0:TISTtist",
                                      "40:hello",  "none",        "none",      "24:two", "none", "none"};

TEST(TAGPacketTest, WalksItems) {
    const struct {
        std::string mBytes;
        uint32_t mResult;
        const char* mProtocol;
    } CASES[] = {
        {"", 1, "none"},
        {Item("none", 0, ""), 1, "none"},
        {Item("bits", 1, "v") + PTR + Item("last", 9, "vv"), 1, "DMDI"},
        {PTR + Item("*ptr", 32, "DMCI"), 1, "DMCI"},
        {PTR + "7 bytes", 0, "DMDI"},
        {PTR + Item("over", 9, "v"), 0, "DMDI"},
        {PTR + "huge\xFF\xFF\xFF\xFF"s, 0, "DMDI"},
        {Item("*ptr", 24, "abc"), 0, "none"},
    };
    for (const auto& lCase : CASES) {
        const Packet lOwner = Owner(lCase.mBytes);
        char lProtocol[5] = "none";
        TAGPacket lPacket(0);
        lPacket.Share(&lOwner);
        EXPECT_EQ(lCase.mResult, lPacket.Parse()) << lCase.mBytes;  // without a place for the protocol
        lPacket.cPayloadProtocol = lProtocol;
        EXPECT_EQ(lCase.mResult, lPacket.Parse()) << lCase.mBytes;
        EXPECT_STREQ(lCase.mProtocol, lProtocol) << lCase.mBytes;
        EXPECT_EQ(lCase.mBytes.size(), lPacket.cPayloadSize);
    }
}

TEST(TAGPacketTest, ReadsWhatItWrote) {
    unsigned char lBytes[16] = {'v', 'w'};
    TagItem lItem = {{'o', 'n', 'e', '_'}, 0, 0, lBytes};
    lItem.SetBits(9);
    TAGPacket lPacket(19);
    EXPECT_EQ(1u, lPacket.WriteFirstItem(&lItem));
    lItem.SetBits(0);
    EXPECT_EQ(1u, lPacket.WriteItem(&lItem));
    EXPECT_EQ(0u, lPacket.WriteItem(&lItem));
    EXPECT_EQ(PACKET_WRITE_OVERFLOW, lPacket.GetError());
    EXPECT_EQ(Item("one_", 9, "vw") + Item("one_", 0, "") + "o", Text(lPacket));
    lBytes[0] = 0;
    EXPECT_EQ(1u, lPacket.ReadFirstItem(&lItem));
    EXPECT_EQ(9u, lItem.GetBits());
    EXPECT_EQ(2u, lItem.mValueLength);
    EXPECT_EQ('v', lBytes[0]);
    EXPECT_EQ(1u, lPacket.ReadItem(&lItem));
    EXPECT_EQ(0u, lItem.mValueLength);
    EXPECT_EQ(0u, lPacket.ReadItem(&lItem));
    EXPECT_EQ(PACKET_READ_OVERFLOW, lPacket.GetError());
}

TEST(MDIUnitTest, BuildsTheWireFormatAndReadsItBack) {
    const std::string lAll = PTR + DLFC + FAC + SDC + SDCI + ROBM + STR2 + TIST + INFO;
    MDIUnit lUnit(static_cast<uint32_t>(lAll.size()), 1, 2);
    EXPECT_STREQ("T", lUnit.cProtocol);
    EXPECT_STREQ("DMDI", lUnit.cPayloadProtocol);
    const std::vector<std::pair<std::function<uint32_t()>, uint32_t>> SETTERS = {
        {[&] { return lUnit.SetDlfc(0x01020304, false); }, MDI_DLFC_PRESENT},
        {[&] { return lUnit.SetFac(Value("FACvalue9")); }, MDI_FAC_PRESENT},
        {[&] { return lUnit.SetSdc(17, Value("SD\x80")); }, MDI_SDC_PRESENT},
        {[&] { return lUnit.SetSdci(12, Value("CI")); }, MDI_SDCI_PRESENT},
        {[&] { return lUnit.SetRobm(1); }, MDI_ROBM_PRESENT},
        {[&] { return lUnit.SetStream(2, 24, Value("two")); }, MDI_STREAM_PRESENT},
        {[&] { return lUnit.SetTist(Value("TISTtist")); }, MDI_TIST_PRESENT},
        {[&] { return lUnit.SetInfo(40, Value("hello")); }, PACKET_WRITE_OVERFLOW},  // may repeat, but is out of room
    };
    for (const auto& lSetter : SETTERS)
        EXPECT_EQ(1u, lSetter.first()) << lSetter.second;
    EXPECT_EQ(lAll, Text(lUnit));
    EXPECT_EQ(ALL, AllOf(lUnit));
    EXPECT_EQ(ALL, AllOf(MDIUnit(lUnit)));
    for (const auto& lSetter : SETTERS) {
        EXPECT_EQ(0u, lSetter.first());
        EXPECT_EQ(lSetter.second, lUnit.GetError());
    }
    EXPECT_EQ(0u, lUnit.SetStream(4, 24, Value("two")));
    EXPECT_EQ(lAll, Text(lUnit));
}

TEST(MDIUnitTest, ChecksItems) {
    const std::string lCore = PTR + DLFC + FAC + SDCI + ROBM;
    const struct {
        const char* mName;
        std::string mBytes;
        uint32_t mError;
    } CASES[] = {
        {"only what is required", lCore + STR2, 0},
        {"other order, unknown items", STR2 + Item("what", 3, "x") + ROBM + SDCI + FAC + DLFC + PTR, 0},
        {"empty variable items", PTR + DLFC + FAC + ROBM + Item("sdci", 0, "") + Item("str0", 0, ""), 0},
        {"nothing", "", MDI_ITEM_MISSING},
        {"no *ptr", DLFC + FAC + SDCI + ROBM + STR2, MDI_ITEM_MISSING},
        {"no dlfc", PTR + FAC + SDCI + ROBM + STR2, MDI_ITEM_MISSING},
        {"no fac_", PTR + DLFC + SDCI + ROBM + STR2, MDI_ITEM_MISSING},
        {"no sdci", PTR + DLFC + FAC + ROBM + STR2, MDI_ITEM_MISSING},
        {"no robm", PTR + DLFC + FAC + SDCI + STR2, MDI_ITEM_MISSING},
        {"no stream", lCore + TIST, MDI_ITEM_MISSING},
        {"stream 4", lCore + Item("str4", 8, "x"), MDI_ITEM_MISSING},
        {"no stream, short tist", lCore + Item("tist", 32, "TIST"), MDI_ITEM_MISSING},
        {"short tist", lCore + STR2 + Item("tist", 32, "TIST"), MDI_WRONG_LENGTH},
        {"fac_ of 71 bits", PTR + DLFC + Item("fac_", 71, "FACvalue9") + SDCI + ROBM + STR2, MDI_WRONG_LENGTH},
        {"fac_ of 80 bits", PTR + DLFC + Item("fac_", 80, "FACvalue90") + SDCI + ROBM + STR2, MDI_WRONG_LENGTH},
        {"dlfc of 31 bits", PTR + Item("dlfc", 31, "\1\2\3\4") + FAC + SDCI + ROBM + STR2, MDI_WRONG_LENGTH},
        {"robm of 16 bits", PTR + DLFC + FAC + SDCI + Item("robm", 16, "\1\1") + STR2, MDI_WRONG_LENGTH},
        {"*ptr of 32 bits", Item("*ptr", 32, "DMDI") + DLFC + FAC + SDCI + ROBM + STR2, MDI_WRONG_LENGTH},
        {"first of two counts", PTR + DLFC + FAC + FAC + Item("fac_", 8, "x") + SDCI + ROBM + STR2, 0},
    };
    for (const auto& lCase : CASES) {
        Unit lUnit(lCase.mBytes);
        EXPECT_EQ(lCase.mError == 0 ? 1u : 0u, lUnit.Parse()) << lCase.mName;
        EXPECT_EQ(lCase.mError, lUnit.GetError()) << lCase.mName;
    }
}

TEST(MDIUnitTest, NeverReadsPastACutUnit) {
    const std::string lAll = PTR + DLFC + FAC + SDC + SDCI + ROBM + TIST + INFO + STR2;
    for (size_t lSize = 0; lSize < lAll.size(); ++lSize) {
        Unit lUnit(lAll.substr(0, lSize));
        EXPECT_EQ(0u, lUnit.Parse()) << lSize;
        EXPECT_EQ(MDI_ITEM_MISSING, lUnit.GetError()) << lSize;
        EXPECT_EQ("none", AllOf(lUnit)[9]);
    }
    Unit lUnit(lAll);
    EXPECT_EQ(1u, lUnit.Parse());
    EXPECT_EQ(ALL, AllOf(lUnit));

    // Other bytes, which end within the first of the items that were found.
    const Unit lShort((PTR + DLFC).substr(0, 26));
    lUnit.Share(&lShort.mOwner);
    EXPECT_EQ(std::vector<std::string>(ALL.size(), "none"), AllOf(lUnit));
    EXPECT_EQ(0u, lUnit.SetDlfc(5, true));
    EXPECT_EQ(0u, lUnit.Parse());
}

TEST(MDIUnitTest, RenumbersInPlace) {
    const std::string lBefore = PTR + FAC + DLFC + SDCI + ROBM + STR2;
    Unit lUnit(lBefore);
    ASSERT_EQ(1u, lUnit.Parse());
    EXPECT_EQ(1u, lUnit.SetDlfc(5, true));
    EXPECT_EQ(PTR + FAC + Item("dlfc", 32, "\0\0\0\5"s) + SDCI + ROBM + STR2, Text(lUnit.mOwner));

    MDIUnit lBuilt(28, 0, 0);
    EXPECT_EQ(1u, lBuilt.SetDlfc(7, true));  // none there yet: appended
    EXPECT_EQ(28u, lBuilt.GetSize());
    EXPECT_EQ(0u, MDIUnit(15, 0, 0).GetSize());  // no room for *ptr
}

}  // namespace
