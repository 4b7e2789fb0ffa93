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
// The value of *ptr is "DMDI", major and minor revision (2 bytes each); the values of any length take whole bytes.
// cPayloadProtocol is "DMDI".  A unit to receive is built with capacity 0, given its bytes by Share and parsed; a unit
// to send is built with the capacity of all its items and filled by the setters.
class MDIUnit : public TAGPacket {
public:
    // From a capacity of 16 on the unit begins with its *ptr item.
    MDIUnit(uint32_t aCapacity, uint16_t aMajorRevision, uint16_t aMinorRevision);

    // Finds the items, in any order and between others; of items of one name the first counts, one whose value runs
    // past the end is missing.  0 with MDI_ITEM_MISSING or MDI_WRONG_LENGTH.  A unit that has all items, sdc_ among
    // them, from the setters or an earlier Parse at the same place is valid at once: take a new one for new bytes.
    uint32_t Parse() override;
    // The item that the last Parse to fail was about; of missing streams the first.  Null before.
    const char* GetFaultyItem() const { return cFaultyItem; }

    // Copy an item's value, for those of any length its bits too.  0 with the outputs untouched when it is not there.
    // The room that an output needs is at most the size of the unit.
    uint32_t GetDlfc(uint32_t* apCounter) const;
    uint32_t GetFac(unsigned char* apOut) const;  // MDI_FAC_SIZE bytes
    uint32_t GetSdc(uint32_t* apBits, unsigned char* apOut) const;
    uint32_t GetSdci(uint32_t* apBits, unsigned char* apOut) const;
    uint32_t GetRobm(unsigned char* apMode) const;
    uint32_t GetStream(uint16_t aIndex, uint32_t* apBits, unsigned char* apOut) const;  // 0 to 3, else 0
    uint32_t GetTist(unsigned char* apOut) const;                                       // MDI_TIST_SIZE bytes
    uint32_t GetInfo(uint32_t* apBits, unsigned char* apOut) const;

    // Append an item.  0 with the item's own code (MDI_DLFC_PRESENT to MDI_TIST_PRESENT) when it is there already, 0
    // with PACKET_WRITE_OVERFLOW when it did not fit: the unit ends in a piece of an item then.
    // With aOverwrite a counter that is there is changed in place, also in viewed bytes.
    uint32_t SetDlfc(uint32_t aCounter, bool aOverwrite);
    uint32_t SetFac(const unsigned char* apValue);
    uint32_t SetSdc(uint32_t aBits, const unsigned char* apValue);
    uint32_t SetSdci(uint32_t aBits, const unsigned char* apValue);
    uint32_t SetRobm(unsigned char aMode);
    uint32_t SetStream(uint16_t aIndex, uint32_t aBits, const unsigned char* apValue);  // 0 to 3, else 0
    uint32_t SetTist(const unsigned char* apValue);
    uint32_t SetInfo(uint32_t aBits, const unsigned char* apValue);  // may be there more than once

private:
    enum Item : uint32_t { PTR, DLFC, FAC, SDC, SDCI, ROBM, STREAM, TIST = STREAM + MDI_STREAMS, INFO, ITEM_COUNT };
    struct Rule;
    // Where a value lies.  Not a pointer, so that a copy of the unit has its own values.
    struct Record {
        bool mPresent = false;
        uint32_t mOffset = 0;
        uint32_t mBits = 0;
    };

    static const Rule& RuleOf(uint32_t aItem);
    bool HasAnyStream() const;
    bool HasAll() const;  // what Parse requires, and sdc_
    uint32_t Fail(uint32_t aCode);
    uint32_t FailToParse(uint32_t aItem, uint32_t aCode);
    uint32_t GetValue(uint32_t aItem, uint32_t* apBits, unsigned char* apOut) const;
    uint32_t AddItem(uint32_t aItem, uint32_t aBits, const unsigned char* apValue);

    std::array<Record, ITEM_COUNT> cRecords;
    const unsigned char* cRecorded;  // the cData that the records are about
    const char* cFaultyItem = nullptr;
};
