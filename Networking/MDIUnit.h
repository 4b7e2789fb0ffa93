#pragma once

#include <array>
#include <cstdint>

#include "Networking/TAGPacket.h"

constexpr uint32_t MDI_FAC_SIZE = 9;
constexpr uint32_t MDI_TIST_SIZE = 8;
constexpr uint32_t MDI_STREAMS = 4;

// One DRM transmission frame as a TAG packet (ETSI TS 102 820):
//
//   item          bits  required             item          bits  required
//   *ptr          64    yes                  robm          8     yes
//   dlfc          32    yes                  str0 to str3  any   one of the four
//   fac_          72    yes                  tist          64    no
//   sdc_          any   no                   info          any   no
//   sdci          any   yes
//
// The value of *ptr is "DMDI" and the major and minor revision (2 bytes each).  Values of any length take whole bytes.
// cPayloadProtocol is "DMDI".  A unit to receive is built with capacity 0, given its bytes by Share and parsed; a unit
// to send is built with the capacity of all its items and filled by the setters.
class MDIUnit : public TAGPacket {
public:
    // The unit begins with its *ptr item unless aCapacity is less than that item's 16 bytes.
    MDIUnit(uint32_t aCapacity, uint16_t aMajorRevision, uint16_t aMinorRevision);

    // Finds the items, in any order and among others.  Of several items of one name the first counts; an item whose
    // value runs past the end counts as missing.  Returns 1; 0 with MDI_ITEM_MISSING or MDI_WRONG_LENGTH.  New bytes
    // need a new unit: when the setters wrote or an earlier Parse found all required items and sdc_ at the same cData,
    // Parse returns 1 without looking again.
    uint32_t Parse() override;
    // Returns the name of the item for which Parse failed last, "str0" when all streams are missing; null when Parse
    // has never failed.
    const char* GetFaultyItem() const { return cFaultyItem; }

    // Copy an item's value and, for an item of any length, its number of bits.  Return 1; 0, with the outputs
    // unchanged, when the item is not there or aIndex is above 3.  A value is at most as long as the unit.
    uint32_t GetDlfc(uint32_t* apCounter) const;
    uint32_t GetFac(unsigned char* apOut) const;  // MDI_FAC_SIZE bytes
    uint32_t GetSdc(uint32_t* apBits, unsigned char* apOut) const;
    uint32_t GetSdci(uint32_t* apBits, unsigned char* apOut) const;
    uint32_t GetRobm(unsigned char* apMode) const;
    uint32_t GetStream(uint16_t aIndex, uint32_t* apBits, unsigned char* apOut) const;  // aIndex is 0 to 3
    uint32_t GetTist(unsigned char* apOut) const;                                       // MDI_TIST_SIZE bytes
    uint32_t GetInfo(uint32_t* apBits, unsigned char* apOut) const;

    // Append an item.  Return 1; 0 with the item's own code (MDI_DLFC_PRESENT to MDI_TIST_PRESENT) when the unit has
    // the item already; 0 with PACKET_WRITE_OVERFLOW when the item did not fit, which leaves a piece of it in the unit;
    // 0 without a code when aIndex is above 3.  With aOverwrite SetDlfc changes a counter that is there already in
    // place, also in viewed bytes.
    uint32_t SetDlfc(uint32_t aCounter, bool aOverwrite);
    uint32_t SetFac(const unsigned char* apValue);
    uint32_t SetSdc(uint32_t aBits, const unsigned char* apValue);
    uint32_t SetSdci(uint32_t aBits, const unsigned char* apValue);
    uint32_t SetRobm(unsigned char aMode);
    uint32_t SetStream(uint16_t aIndex, uint32_t aBits, const unsigned char* apValue);  // aIndex is 0 to 3
    uint32_t SetTist(const unsigned char* apValue);
    uint32_t SetInfo(uint32_t aBits, const unsigned char* apValue);  // a unit may have several

private:
    enum Item : uint32_t { PTR, DLFC, FAC, SDC, SDCI, ROBM, STREAM, TIST = STREAM + MDI_STREAMS, INFO, ITEM_COUNT };
    struct Rule;
    // Where a value lies: an offset and no pointer, so that a copy of the unit refers to its own bytes.
    struct Record {
        bool mPresent = false;
        uint32_t mOffset = 0;
        uint32_t mBits = 0;
    };

    static const Rule& RuleOf(uint32_t aItem);
    bool HasAnyStream() const;
    bool HasAll() const;  // whether all items that Parse requires and sdc_ are recorded
    uint32_t Fail(uint32_t aCode);
    uint32_t FailToParse(uint32_t aItem, uint32_t aCode);
    uint32_t GetValue(uint32_t aItem, uint32_t* apBits, unsigned char* apOut) const;
    uint32_t AddItem(uint32_t aItem, uint32_t aBits, const unsigned char* apValue);

    std::array<Record, ITEM_COUNT> cRecords;
    const unsigned char* cRecorded = nullptr;  // the cData that cRecords refers to
    const char* cFaultyItem = nullptr;
};
