#include "Networking/FileLayer.h"

#include <cstring>
#include <utility>

#include "Networking/ByteOrder.h"
#include "Networking/RetryBrake.h"
#include "platform/Clock.h"
#include "platform/Console.h"
#include "platform/File.h"
#include "platform/Thread.h"

namespace {

constexpr uint32_t AF_SEQUENCE_OFFSET = 6;
constexpr uint32_t PFT_SEQUENCE_OFFSET = 2;

bool HasName(const unsigned char* apItem, const char* apName) {
    return std::memcmp(apItem, apName, 4) == 0;
}

}  // namespace

FileLayer::FileLayer() : ciPacket(std::make_unique<Packet>(FILE_MAX_PACKET_SIZE)), ciRecordHeader{} {
    ciMaxPacketSize = FILE_MAX_PACKET_SIZE;
    ciOverhead = RECORD_HEADER_SIZE;
    ciPacket->cProtocol = ciProtocol;
}

uint32_t FileLayer::Open(const char* apPath, bool aWrite, uint32_t aLimit) {
    Close();
    ciFileSize = 0;
    ciReadOffset = 0;
    ciAtEnd = false;
    ciSkippedRecords = 0;
    ciCutOff = false;
    if (aWrite) {
        ciRecordLimit = aLimit;
        ciRecordCount = 0;
    }
    std::FILE* const lpFile = std::fopen(apPath, aWrite ? "w+b" : "rb");
    if (lpFile == nullptr) {
        platform::Print("\n\tUnable to open MDI file\n");
        return Fail(FILE_OPEN_FAILED);
    }
    if (aWrite) {
        // Unbuffered: a full disk shows at the record that did not fit, and a crash loses none.
        std::setvbuf(lpFile, nullptr, _IONBF, 0);
        ciFile = lpFile;
        ciOpen = true;
        return 1;
    }
    const uint32_t lResult = ReadImage(lpFile);
    std::fclose(lpFile);
    return lResult;
}

uint32_t FileLayer::ReadImage(std::FILE* apFile) {
    const bool lSought = std::fseek(apFile, 0, SEEK_END) == 0;
    const long lLength = lSought ? std::ftell(apFile) : -1;
    std::rewind(apFile);
    const bool lFits = lLength >= 0 && lLength <= static_cast<long>(FILE_MAX_SIZE);
    const size_t lSize = lFits ? static_cast<size_t>(lLength) : 0;
    ciImage = std::make_unique<unsigned char[]>(lSize);
    if (!lFits || std::fread(ciImage.get(), 1, lSize, apFile) != lSize) {
        platform::Print("MDI file size (%d) is too big.\n", static_cast<int>(lLength));
        return Fail(FILE_OPEN_FAILED);
    }
    ciFileSize = static_cast<uint32_t>(lSize);
    ciOpen = true;
    return 1;
}

void FileLayer::Close() {
    const platform::StopGuard lGuard;
    ciOpen = false;
    std::FILE* const lpFile = std::exchange(ciFile, nullptr);
    if (lpFile == nullptr)
        return;
    platform::SyncFile(lpFile);
    std::fclose(lpFile);
}

uint32_t FileLayer::Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t /*aTagIndex*/) {
    if (*apTimeOut != 0 && !ciOnePass)
        platform::Sleep(*apTimeOut);
    *apTimeOut = 0;
    const uint32_t lResult = ciOnePass ? FindPacketOnce() : FindPacket();
    if (lResult == 1)
        apOut->Share(ciPacket.get());
    else if (!ciOnePass)
        *apTimeOut = RETRY_DELAY;
    return lResult;
}

uint32_t FileLayer::FindPacketOnce() {
    while (!ciCutOff && ciReadOffset + RECORD_HEADER_SIZE <= ciFileSize) {
        const Scan lScan = ScanRecord();
        if (lScan == Scan::FOUND)
            return 1;
        if (lScan == Scan::SKIPPED)
            ++ciSkippedRecords;
        ciCutOff = lScan == Scan::CUT_OFF;
    }
    ciCutOff = ciCutOff || ciReadOffset < ciFileSize;  // what is left is too short for a record
    ciAtEnd = true;
    ciError = FILE_END;
    return 2;
}

uint32_t FileLayer::FindPacket() {
    if (ciFileSize < RECORD_HEADER_SIZE) {
        platform::Print("MDI File is too short (%d).\n", static_cast<int>(ciFileSize));
        return 0;
    }
    // From inside the file, its rest and one whole pass.
    for (int lPassesLeft = ciReadOffset == 0 ? 1 : 2; lPassesLeft > 0;) {
        if (ciReadOffset + RECORD_HEADER_SIZE > ciFileSize) {
            ciReadOffset = 0;
            --lPassesLeft;
            continue;
        }
        const bool lFirstRecord = ciReadOffset == 0;
        const Scan lScan = ScanRecord();
        if (lScan == Scan::FOUND)
            return 1;
        if (lScan == Scan::CUT_OFF && !lFirstRecord) {
            ciError = FILE_END;
            return 2;
        }
        if (lScan == Scan::CUT_OFF) {
            platform::Print("MDI File doesn't contain at least one AF packet.\n");
            return 0;
        }
    }
    return 0;
}

FileLayer::Scan FileLayer::ScanRecord() {
    const uint64_t lStart = ciReadOffset;
    uint64_t lPacketSize = 0;
    if (!FindPacketStart(lStart, &lPacketSize))
        return Scan::SKIPPED;
    if (lPacketSize > ciMaxPacketSize) {
        ciReadOffset += lPacketSize;
        return Scan::SKIPPED;
    }
    if (lPacketSize > ciFileSize - ciReadOffset)
        return Scan::CUT_OFF;
    ciPacket->Rewind();
    ciPacket->SetSize(0);
    ciPacket->Write(static_cast<uint32_t>(lPacketSize), ciImage.get() + ciReadOffset);
    ciReadOffset += lPacketSize;
    ciProtocol[0] = lPacketSize >= 2 ? static_cast<char>(ciPacket->cData[0]) : '\0';
    ciProtocol[1] = lPacketSize >= 2 ? static_cast<char>(ciPacket->cData[1]) : '\0';
    return IsThisTagRegistered(ciProtocol) ? Scan::FOUND : Scan::SKIPPED;
}

// Moves ciReadOffset to the packet of the record at aStart, whose header lies inside the file: true.  A record of
// another form is passed over whole: false.
bool FileLayer::FindPacketStart(uint64_t aStart, uint64_t* apPacketSize) {
    std::memcpy(ciRecordHeader, ciImage.get() + aStart, RECORD_HEADER_SIZE);
    const unsigned char* const lpValue = ciRecordHeader + RECORD_ITEM_HEADER_SIZE;
    if (HasName(ciRecordHeader, "fio_")) {
        if (HasName(lpValue, "time") && ReadU32(lpValue + 4) == 64 && HasName(ciRecordHeader + 24, "afpf")) {
            *apPacketSize = BytesOfBits(ReadU32(ciRecordHeader + 28));
            ciReadOffset = aStart + RECORD_HEADER_SIZE;
            return true;
        }
        if (HasName(lpValue, "afpf")) {
            *apPacketSize = BytesOfBits(ReadU32(lpValue + 4));
            ciReadOffset = aStart + RECORD_SHORT_HEADER_SIZE;
            return true;
        }
    }
    ciReadOffset = aStart + RECORD_ITEM_HEADER_SIZE + BytesOfBits(ReadU32(ciRecordHeader + 4));
    return false;
}

uint32_t FileLayer::Send(Packet* apPacket) {
    if (ciRecordCount >= ciRecordLimit)
        return Fail(FILE_END);
    if (apPacket->GetSize() > ciMaxPacketSize)
        return Fail(LAYER_PACKET_TOO_BIG);
    const bool lIsAF = apPacket->GetSize() > 0 && apPacket->cData[0] == 'A';
    const uint32_t lOffset = lIsAF ? AF_SEQUENCE_OFFSET : PFT_SEQUENCE_OFFSET;
    if (apPacket->GetSize() < lOffset + 2)
        return Fail(FILE_WRITE_FAILED);
    const uint16_t lSequence = ReadU16(apPacket->cData + lOffset);
    if (lSequence != ciLastSequence) {
        ciLastSequence = lSequence;
        if (++ciRecordCount == ciRecordLimit) {
            Close();
            return Fail(FILE_END);
        }
    }
    return WriteRecord(*apPacket);
}

// Not stoppable: a task that is stopped in a write holds the stream, and Close would wait for it.
uint32_t FileLayer::WriteRecord(const Packet& aPacket) {
    const platform::StopGuard lGuard;
    const uint64_t lMilliseconds = uint64_t{ciRecordCount} * FILE_FRAME_TIME;
    const RecordTime lTime = {static_cast<uint32_t>(lMilliseconds / 1000),
                              static_cast<uint32_t>(lMilliseconds % 1000 * 1000000)};
    WriteRecordHeader(ciRecordHeader, aPacket.GetSize(), &lTime);
    if (ciFile == nullptr)
        return Fail(FILE_WRITE_FAILED);
    const long lStart = std::ftell(ciFile);
    if (std::fwrite(ciRecordHeader, 1, RECORD_HEADER_SIZE, ciFile) == RECORD_HEADER_SIZE &&
        std::fwrite(aPacket.cData, 1, aPacket.GetSize(), ciFile) == aPacket.GetSize())
        return 1;
    platform::CutFile(ciFile, lStart);  // no piece of a record stays: readers would lose their step
    return Fail(FILE_WRITE_FAILED);
}
