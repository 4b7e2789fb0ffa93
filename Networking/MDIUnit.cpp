#include "Networking/MDIUnit.h"

#include <cstring>

#include "Networking/ByteOrder.h"

namespace {

constexpr uint32_t PTR_SIZE = 8;
constexpr uint32_t ANY_LENGTH = 0;
constexpr uint32_t MAY_REPEAT = 0;

// Every unit's cPayloadProtocol, into which nothing writes.
char sProtocol[] = "DMDI";

}  // namespace

struct MDIUnit::Rule {
    const char* mName;
    uint32_t mBits;  // the required length, or ANY_LENGTH
    bool mRequired;
    uint32_t mDuplicate;  // the setter's code when the item is there already, or MAY_REPEAT
};

const MDIUnit::Rule& MDIUnit::RuleOf(uint32_t aItem) {
    static constexpr Rule RULES[ITEM_COUNT] = {
        {"*ptr", PTR_SIZE * 8, true, MAY_REPEAT},
        {"dlfc", 32, true, MDI_DLFC_PRESENT},
        {"fac_", MDI_FAC_SIZE * 8, true, MDI_FAC_PRESENT},
        {"sdc_", ANY_LENGTH, false, MDI_SDC_PRESENT},
        {"sdci", ANY_LENGTH, true, MDI_SDCI_PRESENT},
        {"robm", 8, true, MDI_ROBM_PRESENT},
        {"str0", ANY_LENGTH, false, MDI_STREAM_PRESENT},
        {"str1", ANY_LENGTH, false, MDI_STREAM_PRESENT},
        {"str2", ANY_LENGTH, false, MDI_STREAM_PRESENT},
        {"str3", ANY_LENGTH, false, MDI_STREAM_PRESENT},
        {"tist", MDI_TIST_SIZE * 8, false, MDI_TIST_PRESENT},
        {"info", ANY_LENGTH, false, MAY_REPEAT},
    };
    return RULES[aItem];
}

MDIUnit::MDIUnit(uint32_t aCapacity, uint16_t aMajorRevision, uint16_t aMinorRevision) : TAGPacket(aCapacity) {
    cPayloadProtocol = sProtocol;
    if (aCapacity < TAG_ITEM_HEADER_SIZE + PTR_SIZE)
        return;
    unsigned char lValue[PTR_SIZE];
    std::memcpy(lValue, sProtocol, 4);
    WriteU16(lValue + 4, aMajorRevision);
    WriteU16(lValue + 6, aMinorRevision);
    AddItem(PTR, PTR_SIZE * 8, lValue);
}

uint32_t MDIUnit::Parse() {
    if (cRecorded == cData && HasAll())
        return 1;
    if (cRecorded != cData)
        cRecords.fill(Record());
    cRecorded = cData;
    for (uint32_t lItem = PTR; lItem < ITEM_COUNT; ++lItem) {
        if (lItem == TIST && !HasAnyStream())
            return FailToParse(STREAM, MDI_ITEM_MISSING);
        const Rule& lRule = RuleOf(lItem);
        unsigned char* lpItem;
        if (FindItem(lRule.mName, &lpItem) == 0) {
            cRecords[lItem] = Record();
            if (lRule.mRequired)
                return FailToParse(lItem, MDI_ITEM_MISSING);
            continue;
        }
        const uint32_t lBits = ReadU32(lpItem + TAG_NAME_SIZE);
        if (lRule.mBits != ANY_LENGTH && lRule.mBits != lBits)
            return FailToParse(lItem, MDI_WRONG_LENGTH);
        cRecords[lItem] = {true, OffsetOf(lpItem) + TAG_ITEM_HEADER_SIZE, lBits};
    }
    return 1;
}

uint32_t MDIUnit::GetDlfc(uint32_t* apCounter) const {
    unsigned char lValue[4];
    if (GetValue(DLFC, nullptr, lValue) == 0)
        return 0;
    *apCounter = ReadU32(lValue);
    return 1;
}

uint32_t MDIUnit::GetFac(unsigned char* apOut) const {
    return GetValue(FAC, nullptr, apOut);
}

uint32_t MDIUnit::GetSdc(uint32_t* apBits, unsigned char* apOut) const {
    return GetValue(SDC, apBits, apOut);
}

uint32_t MDIUnit::GetSdci(uint32_t* apBits, unsigned char* apOut) const {
    return GetValue(SDCI, apBits, apOut);
}

uint32_t MDIUnit::GetRobm(unsigned char* apMode) const {
    return GetValue(ROBM, nullptr, apMode);
}

uint32_t MDIUnit::GetStream(uint16_t aIndex, uint32_t* apBits, unsigned char* apOut) const {
    return aIndex < MDI_STREAMS ? GetValue(STREAM + aIndex, apBits, apOut) : 0;
}

uint32_t MDIUnit::GetTist(unsigned char* apOut) const {
    return GetValue(TIST, nullptr, apOut);
}

uint32_t MDIUnit::GetInfo(uint32_t* apBits, unsigned char* apOut) const {
    return GetValue(INFO, apBits, apOut);
}

uint32_t MDIUnit::SetDlfc(uint32_t aCounter, bool aOverwrite) {
    unsigned char lValue[4];
    WriteU32(lValue, aCounter);
    if (aOverwrite && cRecords[DLFC].mPresent)
        return WriteAt(cRecords[DLFC].mOffset, sizeof lValue, lValue);
    return AddItem(DLFC, 32, lValue);
}

uint32_t MDIUnit::SetFac(const unsigned char* apValue) {
    return AddItem(FAC, MDI_FAC_SIZE * 8, apValue);
}

uint32_t MDIUnit::SetSdc(uint32_t aBits, const unsigned char* apValue) {
    return AddItem(SDC, aBits, apValue);
}

uint32_t MDIUnit::SetSdci(uint32_t aBits, const unsigned char* apValue) {
    return AddItem(SDCI, aBits, apValue);
}

uint32_t MDIUnit::SetRobm(unsigned char aMode) {
    return AddItem(ROBM, 8, &aMode);
}

uint32_t MDIUnit::SetStream(uint16_t aIndex, uint32_t aBits, const unsigned char* apValue) {
    return aIndex < MDI_STREAMS ? AddItem(STREAM + aIndex, aBits, apValue) : 0;
}

uint32_t MDIUnit::SetTist(const unsigned char* apValue) {
    return AddItem(TIST, MDI_TIST_SIZE * 8, apValue);
}

uint32_t MDIUnit::SetInfo(uint32_t aBits, const unsigned char* apValue) {
    return AddItem(INFO, aBits, apValue);
}

bool MDIUnit::HasAnyStream() const {
    for (uint32_t lIndex = 0; lIndex < MDI_STREAMS; ++lIndex)
        if (cRecords[STREAM + lIndex].mPresent)
            return true;
    return false;
}

bool MDIUnit::HasAll() const {
    for (uint32_t lItem = PTR; lItem < STREAM; ++lItem)
        if (!cRecords[lItem].mPresent)
            return false;
    return HasAnyStream();
}

uint32_t MDIUnit::Fail(uint32_t aCode) {
    cError = aCode;
    return 0;
}

uint32_t MDIUnit::FailToParse(uint32_t aItem, uint32_t aCode) {
    cFaultyItem = RuleOf(aItem).mName;
    return Fail(aCode);
}

uint32_t MDIUnit::GetValue(uint32_t aItem, uint32_t* apBits, unsigned char* apOut) const {
    const Record& lRecord = cRecords[aItem];
    const uint32_t lBytes = BytesOfBits(lRecord.mBits);
    // The offset is checked because the unit may view other bytes by now than those that were parsed.
    if (!lRecord.mPresent || lRecord.mOffset > ValidBytes() || lBytes > ValidBytes() - lRecord.mOffset)
        return 0;
    if (apBits != nullptr)
        *apBits = lRecord.mBits;
    if (lBytes != 0)
        std::memcpy(apOut, cData + lRecord.mOffset, lBytes);
    return 1;
}

uint32_t MDIUnit::AddItem(uint32_t aItem, uint32_t aBits, const unsigned char* apValue) {
    const Rule& lRule = RuleOf(aItem);
    if (cRecords[aItem].mPresent && lRule.mDuplicate != MAY_REPEAT)
        return Fail(lRule.mDuplicate);
    TagItem lItem;
    std::memcpy(lItem.mName, lRule.mName, sizeof lItem.mName);
    lItem.SetBits(aBits);
    lItem.mValue = const_cast<unsigned char*>(apValue);  // WriteItem only reads the value
    const uint32_t lOffset = OffsetOf(cWritePosition) + TAG_ITEM_HEADER_SIZE;
    if (WriteItem(&lItem) == 0)
        return 0;
    if (!cRecords[aItem].mPresent)
        cRecords[aItem] = {true, lOffset, aBits};
    cRecorded = cData;
    return 1;
}
