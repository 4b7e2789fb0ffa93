#include "Networking/FileLayer.h"

#include <cstring>
#include <utility>

#include "Networking/ByteOrder.h"
#include "Networking/FrameTime.h"
#include "platform/Clock.h"
#include "platform/Console.h"
#include "platform/File.h"
#include "platform/Thread.h"

namespace {

constexpr uint32_t AF_SEQUENCE_OFFSET = 6;
constexpr uint32_t PFT_SEQUENCE_OFFSET = 2;

}  // namespace

FileLayer::FileLayer()
    : Transport({.mPacesItself = true, .mHasAddressing = true, .mFileMode = true}),
      ciPacket(std::make_unique<Packet>(FILE_MAX_PACKET_SIZE)),
      ciRecordHeader{} {
    ciMaxPacketSize = FILE_MAX_PACKET_SIZE;
    ciOverhead = RECORD_HEADER_SIZE;
    ciPacket->cProtocol = ciProtocol;
}

uint32_t FileLayer::Open(const char* apPath, bool aWrite, uint32_t aLimit) {
    Close();
    ciFileSize = 0;
    ciReadOffset = 0;
    ciAtEnd = false;
    cCutOff = false;
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
    const bool lOnePass = ciSettings.mOnePass;
    if (*apTimeOut != 0 && !lOnePass)
        platform::Sleep(*apTimeOut);
    *apTimeOut = 0;
    if (!lOnePass)
        BrakeInput();
    const uint32_t lResult = lOnePass ? FindPacketOnce() : FindPacket();
    if (lResult == 1) {
        Report(StackEvent::INPUT_TAKEN);
        apOut->Share(ciPacket.get());
    } else if (!lOnePass) {
        *apTimeOut = RETRY_DELAY;
    }
    return lResult;
}

uint32_t FileLayer::FindPacketOnce() {
    while (!ciAtEnd && !cCutOff && ciReadOffset + RECORD_HEADER_SIZE <= ciFileSize) {
        if (NextRecord() == Scan::FOUND)
            return 1;
    }
    if (!ciAtEnd)
        EndPass();
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
            EndPass();
            ciReadOffset = 0;
            --lPassesLeft;
            continue;
        }
        const bool lFirstRecord = ciReadOffset == 0;
        const Scan lScan = NextRecord();
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

void FileLayer::EndPass() {
    if (ciReadOffset < ciFileSize && !cCutOff) {  // what is left is too short for a record
        NoteRecord();
        Report(StackEvent::RECORDING_CUT_OFF);
    }
    cCutOff = false;
    Report(StackEvent::PASS_ENDED);
}

// For the reports to come: what they are about is the record at ciReadOffset.
void FileLayer::NoteRecord() {
    InputPlace& lInput = Input();
    lInput.mRecord = ciReadOffset == 0 ? 1 : lInput.mRecord + 1;
    lInput.mOffset = ciReadOffset;
}

FileLayer::Scan FileLayer::NextRecord() {
    NoteRecord();
    const Scan lScan = ScanRecord();
    if (lScan == Scan::SKIPPED)
        Report(StackEvent::RECORD_SKIPPED);
    if (lScan == Scan::CUT_OFF && !cCutOff)
        Report(StackEvent::RECORDING_CUT_OFF);
    cCutOff = cCutOff || lScan == Scan::CUT_OFF;
    return lScan;
}

FileLayer::Scan FileLayer::ScanRecord() {
    std::memcpy(ciRecordHeader, ciImage.get() + ciReadOffset, RECORD_HEADER_SIZE);
    const RecordHeader lHeader = ParseRecordHeader(ciRecordHeader);
    ciReadOffset += lHeader.mHeaderSize;
    if (!lHeader.mHasPacket)
        return Scan::SKIPPED;
    if (lHeader.mPacketSize > ciMaxPacketSize) {
        ciReadOffset += lHeader.mPacketSize;
        return Scan::SKIPPED;
    }
    if (lHeader.mPacketSize > ciFileSize - ciReadOffset)
        return Scan::CUT_OFF;
    ciPacket->Rewind();
    ciPacket->SetSize(0);
    ciPacket->Write(static_cast<uint32_t>(lHeader.mPacketSize), ciImage.get() + ciReadOffset);
    ciReadOffset += lHeader.mPacketSize;
    SetTag(ciProtocol, *ciPacket);
    return IsThisTagRegistered(ciProtocol) ? Scan::FOUND : Scan::SKIPPED;
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
    const uint64_t lMilliseconds = uint64_t{ciRecordCount} * DRM_FRAME_TIME;
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
