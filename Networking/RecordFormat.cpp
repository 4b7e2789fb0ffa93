#include "Networking/RecordFormat.h"

#include <cstring>

#include "Networking/ByteOrder.h"

namespace {

unsigned char* WriteItemHeader(unsigned char* apWhere, const char* aName, uint32_t aBits) {
    std::memcpy(apWhere, aName, 4);
    WriteU32(apWhere + 4, aBits);
    return apWhere + RECORD_ITEM_HEADER_SIZE;
}

}  // namespace

size_t WriteRecordHeader(unsigned char* apHeader, uint32_t aPacketSize, const RecordTime* apTime) {
    const size_t lHeaderSize = apTime != nullptr ? RECORD_HEADER_SIZE : RECORD_SHORT_HEADER_SIZE;
    const uint32_t lValueSize = static_cast<uint32_t>(lHeaderSize - RECORD_ITEM_HEADER_SIZE) + aPacketSize;
    unsigned char* lpNext = WriteItemHeader(apHeader, "fio_", 8 * lValueSize);
    if (apTime != nullptr) {
        lpNext = WriteItemHeader(lpNext, "time", 64);
        WriteU32(lpNext, apTime->mSeconds);
        WriteU32(lpNext + 4, apTime->mNanoseconds);
        lpNext += 8;
    }
    WriteItemHeader(lpNext, "afpf", 8 * aPacketSize);
    return lHeaderSize;
}
