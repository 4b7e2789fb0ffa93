#include "Networking/RecordFormat.h"

#include "Networking/ByteOrder.h"
#include "Networking/TagItems.h"

namespace {

constexpr uint32_t TIME_BITS = 64;
constexpr size_t TIME_ITEM_SIZE = TAG_ITEM_HEADER_SIZE + TIME_BITS / 8;

}  // namespace

size_t WriteRecordHeader(unsigned char* apHeader, uint32_t aPacketSize, const RecordTime* apTime) {
    const size_t lHeaderSize = apTime != nullptr ? RECORD_HEADER_SIZE : RECORD_SHORT_HEADER_SIZE;
    const uint32_t lValueSize = static_cast<uint32_t>(lHeaderSize - TAG_ITEM_HEADER_SIZE) + aPacketSize;
    unsigned char* lpNext = WriteTagItemHeader(apHeader, "fio_", 8 * lValueSize);
    if (apTime != nullptr) {
        lpNext = WriteTagItemHeader(lpNext, "time", TIME_BITS);
        WriteU32(lpNext, apTime->mSeconds);
        WriteU32(lpNext + 4, apTime->mNanoseconds);
        lpNext += TIME_BITS / 8;
    }
    WriteTagItemHeader(lpNext, "afpf", 8 * aPacketSize);
    return lHeaderSize;
}

RecordHeader ParseRecordHeader(const unsigned char* apBytes) {
    TagItemView lRecord;
    TagItemView lInner;
    ParseTagItemHeader(apBytes, RECORD_HEADER_SIZE, &lRecord);
    const RecordHeader lOther = {false, lRecord.GetSize(), 0};
    if (!lRecord.IsNamed("fio_"))
        return lOther;
    size_t lOffset = TAG_ITEM_HEADER_SIZE;
    ParseTagItemHeader(apBytes + lOffset, RECORD_HEADER_SIZE - lOffset, &lInner);
    if (lInner.IsNamed("time") && lInner.mBits == TIME_BITS) {
        lOffset += TIME_ITEM_SIZE;
        ParseTagItemHeader(apBytes + lOffset, RECORD_HEADER_SIZE - lOffset, &lInner);
    }
    if (!lInner.IsNamed("afpf"))
        return lOther;
    return {true, lOffset + TAG_ITEM_HEADER_SIZE, lInner.mValueSize};
}
