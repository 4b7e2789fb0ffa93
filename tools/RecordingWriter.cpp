#include "tools/RecordingWriter.h"

#include <algorithm>

#include "Networking/AFPacket.h"
#include "Networking/ClassicReassembly.h"
#include "Networking/FrameTime.h"
#include "Networking/PFTPacket.h"
#include "Networking/RecordFormat.h"

namespace {

char sTagProtocol[] = "T";

}  // namespace

bool RecordingWriter::AddFrame(const Packet& aTagPacket, std::string* apError) {
    AFPacket lPacket(AF_OVERHEAD + aTagPacket.cSize, AF_MAJOR_VERSION, 0);
    lPacket.SetCRCEngine(&cCRC);
    lPacket.WritePayload(aTagPacket.cSize, aTagPacket.cData);
    lPacket.cPayloadProtocol = sTagProtocol;
    lPacket.SetHeader(static_cast<uint16_t>(cFormat.mFirstSequence + cFrames), true);
    lPacket.SetCRC(true);

    cBytes.clear();
    if (!cFormat.mPft)
        AddRecord(lPacket);
    else if (!Cut(lPacket, apError))
        return false;
    ++cFrames;
    return true;
}

bool RecordingWriter::Cut(const Packet& aAFPacket, std::string* apError) {
    const uint32_t lCount = (aAFPacket.cSize - 1) / cFormat.mFragmentSize + 1;
    if (lCount > PFT_MAX_SUB_PACKETS) {
        *apError = "fragments of " + std::to_string(cFormat.mFragmentSize) + " bytes cut a frame into " +
                   std::to_string(lCount) + " pieces; " + std::to_string(PFT_MAX_SUB_PACKETS) +
                   " can be put together again";
        return false;
    }
    const uint32_t lLast = (aAFPacket.cSize - 1) % cFormat.mFragmentSize + 1;
    if (!cFormat.mTime && RECORD_SHORT_HEADER_SIZE + PFT_HEADER_SIZE + lLast < RECORD_HEADER_SIZE) {
        // At the end of a file a player takes fewer than RECORD_HEADER_SIZE bytes for no record.
        *apError = "fragments of " + std::to_string(cFormat.mFragmentSize) +
                   " bytes end in a record that is too short to be found without its time";
        return false;
    }
    for (uint32_t lIndex = 0; lIndex < lCount; ++lIndex) {
        const uint32_t lOffset = lIndex * cFormat.mFragmentSize;
        const uint32_t lSize = std::min(cFormat.mFragmentSize, aAFPacket.cSize - lOffset);
        PFTPacket lFragment(PFT_HEADER_SIZE + lSize);
        lFragment.WritePayload(lSize, aAFPacket.cData + lOffset);
        lFragment.SetHeader(static_cast<uint16_t>(cFormat.mFirstSequence + cFrames), lIndex, lCount);
        AddRecord(lFragment);
    }
    return true;
}

void RecordingWriter::AddRecord(const Packet& aPacket) {
    const uint64_t lMilliseconds = uint64_t{cFrames} * DRM_FRAME_TIME;
    const RecordTime lTime = {static_cast<uint32_t>(lMilliseconds / 1000),
                              static_cast<uint32_t>(lMilliseconds % 1000 * 1'000'000)};
    unsigned char lHeader[RECORD_HEADER_SIZE];
    const size_t lHeaderSize = WriteRecordHeader(lHeader, aPacket.cSize, cFormat.mTime ? &lTime : nullptr);
    cBytes.insert(cBytes.end(), lHeader, lHeader + lHeaderSize);
    cBytes.insert(cBytes.end(), aPacket.cData, aPacket.cData + aPacket.cSize);
}
