#include "Networking/MDIUnit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "Networking/StatusCodes.h"
#include "tests/unit/FakeTransport.h"

namespace {

using namespace std::string_literals;

// Returns an item as it is on the wire.
std::string Item(const std::string& aName, char aBits, const std::string& aValue) {
    return aName + "\0\0\0"s + aBits + aValue;
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
const std::string WHOLE = PTR + DLFC + FAC + SDC + SDCI + ROBM + TIST + INFO + STR2;

struct Unit : MDIUnit {
    explicit Unit(const std::string& aBytes) : MDIUnit(0, 0, 0), mOwner(aBytes) { Share(&mOwner); }
    TextPacket mOwner;
};

// Gets each item from aFrom and sets it in *apTo.  Returns the code of *apTo for each, 0 for success.
std::vector<uint32_t> CopyItems(const MDIUnit& aFrom, MDIUnit* apTo) {
    uint32_t lBits;
    unsigned char lValue[16];
    const std::function<bool()> COPIES[] = {
        [&] { return aFrom.GetDlfc(&lBits) && apTo->SetDlfc(lBits, false); },
        [&] { return aFrom.GetFac(lValue) && apTo->SetFac(lValue); },
        [&] { return aFrom.GetSdc(&lBits, lValue) && apTo->SetSdc(lBits, lValue); },
        [&] { return aFrom.GetSdci(&lBits, lValue) && apTo->SetSdci(lBits, lValue); },
        [&] { return aFrom.GetRobm(lValue) && apTo->SetRobm(lValue[0]); },
        [&] { return aFrom.GetTist(lValue) && apTo->SetTist(lValue); },
        [&] { return aFrom.GetInfo(&lBits, lValue) && apTo->SetInfo(lBits, lValue); },
        [&] { return aFrom.GetStream(2, &lBits, lValue) && apTo->SetStream(2, lBits, lValue); },
    };
    std::vector<uint32_t> lErrors;
    for (const auto& lCopy : COPIES)
        lErrors.push_back(lCopy() ? 0 : apTo->GetError());
    return lErrors;
}

TEST(TAGPacketTest, WalksItems) {
    const std::tuple<std::string, uint32_t, const char*> CASES[] = {
        {"", 1, "none"},
        {Item("bits", 1, "v") + PTR + Item("none", 0, ""), 1, "DMDI"},
        {PTR + Item("*ptr", 32, "DMCI"), 1, "DMCI"},
        {PTR + "7 bytes", 0, "DMDI"},
        {PTR + Item("over", 9, "v"), 0, "DMDI"},
        {PTR + "huge\xFF\xFF\xFF\xFF"s, 0, "DMDI"},
        {Item("*ptr", 24, "abc"), 0, "none"},
    };
    for (const auto& [lBytes, lResult, lProtocol] : CASES) {
        SCOPED_TRACE(lBytes);
        char lFound[5] = "none";
        const TextPacket lOwner(lBytes);
        TAGPacket lPacket(0);
        lPacket.Share(&lOwner);
        EXPECT_EQ(lResult, lPacket.Parse());  // with a null cPayloadProtocol
        lPacket.cPayloadProtocol = lFound;
        EXPECT_EQ(lResult, lPacket.Parse());
        EXPECT_STREQ(lProtocol, lFound);
        EXPECT_EQ(lBytes.size(), lPacket.cPayloadSize);

        TAGPacket lCopy(lPacket.cCapacity);
        unsigned char lValue[50];
        TagItem lItem = {{}, 0, 0, lValue};
        bool lMore = lPacket.ReadFirstItem(&lItem) && lCopy.WriteFirstItem(&lItem);
        while (lMore)
            lMore = lPacket.ReadItem(&lItem) && lCopy.WriteItem(&lItem);
        EXPECT_EQ(PACKET_READ_OVERFLOW, lPacket.GetError());
        EXPECT_TRUE(lResult == 0 || BytesOf(lCopy) == lBytes);
        EXPECT_EQ(lItem.mValueLength, std::ceil(lItem.GetBits() / 8.0));
    }
}

TEST(MDIUnitTest, BuildsTheWireFormatAndReadsItBack) {
    Unit lParsed(WHOLE);
    ASSERT_EQ(1u, lParsed.Parse());
    MDIUnit lBuilt(lParsed.GetSize(), 1, 2), lAgain(lParsed.GetSize(), 1, 2);
    CopyItems(lParsed, &lBuilt);
    EXPECT_EQ(WHOLE, BytesOf(lBuilt));
    CopyItems(MDIUnit(lBuilt), &lAgain);
    EXPECT_EQ(WHOLE, BytesOf(lAgain));
    const std::vector<uint32_t> PRESENT = {MDI_DLFC_PRESENT,      MDI_FAC_PRESENT,   MDI_SDC_PRESENT,
                                           MDI_SDCI_PRESENT,      MDI_ROBM_PRESENT,  MDI_TIST_PRESENT,
                                           PACKET_WRITE_OVERFLOW, MDI_STREAM_PRESENT};  // info did not fit
    EXPECT_EQ(PRESENT, CopyItems(lBuilt, &lAgain));
    EXPECT_EQ(WHOLE, BytesOf(lAgain));
    uint32_t lUntouched = 7;
    for (uint16_t lOther = 0; lOther < 5; lOther += 4)
        EXPECT_EQ(0u, lBuilt.GetStream(lOther, &lUntouched, nullptr)) << lOther;
    EXPECT_EQ(7u, lUntouched);
    EXPECT_EQ(0u, MDIUnit(100, 0, 0).SetStream(4, 0, nullptr));
}

// Returns a unit of the required items, with aOther in place of aItem.
std::string Instead(const std::string& aItem, const std::string& aOther) {
    std::string lBytes = PTR + DLFC + FAC + SDCI + ROBM + STR2;
    return lBytes.replace(lBytes.find(aItem), aItem.size(), aOther);
}

// Expects Parse to give this code (0 for success) and, unless aItem is empty, to find aItem faulty.
void ExpectParse(uint32_t aError, const std::string& aBytes, const std::string& aItem = "") {
    Unit lUnit(aBytes);
    EXPECT_EQ(aError == 0 ? 1u : 0u, lUnit.Parse()) << aBytes;
    EXPECT_EQ(aError, lUnit.GetError()) << aBytes;
    EXPECT_TRUE(aItem.empty() || aItem == lUnit.GetFaultyItem()) << aItem;
}

TEST(MDIUnitTest, ChecksItems) {
    ExpectParse(0, INFO + STR2 + ROBM + SDCI + FAC + DLFC + PTR);
    ExpectParse(0, Instead(STR2, Item("what", 3, "x") + Item("str0", 0, "")));
    ExpectParse(0, Instead(FAC, FAC + Item("fac_", 8, "x")));  // the first of them counts
    for (const std::string& lItem : {PTR, DLFC, FAC, SDCI, ROBM, STR2})
        ExpectParse(MDI_ITEM_MISSING, Instead(lItem, ""), lItem == STR2 ? "str0" : lItem.substr(0, 4));
    const std::string lTist = Item("tist", 32, "TIST");
    ExpectParse(MDI_ITEM_MISSING, Instead(STR2, lTist));
    ExpectParse(MDI_WRONG_LENGTH, Instead(STR2, STR2 + lTist), "tist");
    ExpectParse(MDI_WRONG_LENGTH, Instead(PTR, Item("*ptr", 32, "DMDI")));
    ExpectParse(MDI_WRONG_LENGTH, Instead(DLFC, Item("dlfc", 31, "\1\2\3\4")));
    ExpectParse(MDI_WRONG_LENGTH, Instead(FAC, Item("fac_", 80, "FACvalue90")));
    ExpectParse(MDI_WRONG_LENGTH, Instead(ROBM, Item("robm", 16, "\1\1")), "robm");
}

TEST(MDIUnitTest, NeverReadsPastACutUnit) {
    for (size_t lSize = 0; lSize < WHOLE.size(); ++lSize)
        ExpectParse(MDI_ITEM_MISSING, WHOLE.substr(0, lSize));
    Unit lUnit(WHOLE);
    ASSERT_EQ(1u, lUnit.Parse());
    const TextPacket lShort(WHOLE.substr(0, 26));  // ends within dlfc
    lUnit.Share(&lShort);
    MDIUnit lCopy(100, 1, 2);
    CopyItems(lUnit, &lCopy);
    EXPECT_EQ(PTR, BytesOf(lCopy));
    EXPECT_EQ(0u, lUnit.SetDlfc(5, true));
    EXPECT_EQ(0u, lUnit.Parse());
}

TEST(MDIUnitTest, RenumbersInPlace) {
    Unit lUnit(Instead(PTR, PTR + INFO));
    ASSERT_EQ(1u, lUnit.Parse());
    EXPECT_EQ(1u, lUnit.SetDlfc(0x010305, true));
    EXPECT_EQ(Instead(PTR + DLFC, PTR + INFO + Item("dlfc", 32, "\0\1\3\5"s)), BytesOf(lUnit));

    MDIUnit lBuilt(50, 0, 0);
    EXPECT_EQ(1u, lBuilt.SetDlfc(7, true));  // appended, because there is none yet
    EXPECT_EQ(28u, lBuilt.GetSize());
    EXPECT_EQ(1u, lBuilt.SetRobm(1));
    EXPECT_EQ(0u, lBuilt.Parse());
    EXPECT_EQ(0u, lBuilt.SetRobm(1));            // the failed Parse has not forgotten it
    EXPECT_EQ(0u, MDIUnit(15, 0, 0).GetSize());  // no room for *ptr
}

}  // namespace
