#include "Networking/FileLayer.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "Networking/AFFormat.h"
#include "Networking/ByteOrder.h"
#include "Networking/FrameTime.h"
#include "Networking/PFTFormat.h"
#include "Networking/RecordingImage.h"
#include "Networking/RecordingStream.h"
#include "platform/Clock.h"
#include "platform/Console.h"
#include "platform/Thread.h"

namespace {

// A long stretch without a packet that can be used does not take the whole processor: so many bytes, then a pause in
// milliseconds.  A file that is held in memory has no such stretch.
constexpr uint64_t SKIPPED_BYTES = FILE_MAX_SIZE;
constexpr uint32_t SKIPPING_PAUSE = 10;

void PrintTooBig(int64_t aLength) {
    platform::Print("MDI file size (%" PRId64 ") is too big.\n", aLength);
}

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
    platform::FilePointer lFile(std::fopen(apPath, aWrite ? "w+b" : "rb"));
    if (lFile == nullptr) {
        platform::Print("\n\tUnable to open MDI file\n");
        return Fail(FILE_OPEN_FAILED);
    }
    if (!aWrite)
        return OpenToPlay(apPath, std::move(lFile));
    ciRecordLimit = aLimit;
    ciRecordCount = 0;
    cRecordedBytes = 0;
    // Unbuffered: a full disk shows at the record that did not fit, and a crash loses none.
    std::setvbuf(lFile.get(), nullptr, _IONBF, 0);
    ciFile = lFile.release();
    ciOpen = true;
    return 1;
}

uint32_t FileLayer::OpenToPlay(const char* apPath, platform::FilePointer aFile) {
    const std::optional<uint64_t> lLength = platform::FileLength(aFile.get());
    std::unique_ptr<RecordingBytes> lRecording;
    if (lLength && *lLength <= FILE_MAX_SIZE) {
        std::vector<unsigned char> lBytes(static_cast<size_t>(*lLength));
        if (platform::ReadFileAt(aFile.get(), 0, lBytes.data(), lBytes.size()) == lBytes.size())
            lRecording = std::make_unique<RecordingImage>(std::move(lBytes));
    } else if (lLength) {
        lRecording = std::make_unique<RecordingStream>(apPath, std::move(aFile));
    }
    if (lRecording != nullptr && Open(std::move(lRecording)) == 1)
        return 1;
    PrintTooBig(lLength ? static_cast<int64_t>(*lLength) : -1);
    return Fail(FILE_OPEN_FAILED);
}

uint32_t FileLayer::Open(std::unique_ptr<RecordingBytes> aRecording) {
    Close();
    const uint64_t lSize = aRecording->BeginPass();
    const size_t lBeginning = static_cast<size_t>(std::min<uint64_t>(lSize, RECORD_HEADER_SIZE));
    const bool lReadable = lBeginning == 0 || aRecording->View(0, lBeginning) != nullptr;
    if (lSize > ciSettings.mFileSizeLimit || !lReadable)
        return Fail(FILE_OPEN_FAILED);
    ciFileSize = lSize;
    cRecording = std::move(aRecording);
    ciOpen = true;
    return 1;
}

void FileLayer::Close() {
    const platform::StopGuard lGuard;
    ciOpen = false;
    cRecording = nullptr;
    ciFileSize = 0;
    ciReadOffset = 0;
    ciAtEnd = false;
    cCutOff = false;
    const platform::FilePointer lFile(std::exchange(ciFile, nullptr));
    if (lFile != nullptr)
        platform::SyncFile(lFile.get());
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
        const Scan lScan = NextRecord();
        if (lScan == Scan::FOUND)
            return 1;
        if (lScan == Scan::FAILED) {
            FailPass();
            ciAtEnd = true;
        }
    }
    if (!ciAtEnd)
        EndPass();
    ciAtEnd = true;
    ciError = FILE_END;
    return 2;
}

uint32_t FileLayer::FindPacket() {
    uint64_t lNextPause = ciReadOffset + SKIPPED_BYTES;
    // From inside the file, its rest and one whole pass.
    for (int lPassesLeft = ciReadOffset == 0 ? 1 : 2; lPassesLeft > 0;) {
        if (ciReadOffset == 0 && !BeginPass())
            return 0;
        if (ciReadOffset + RECORD_HEADER_SIZE > ciFileSize) {
            EndPass();
            ciReadOffset = 0;
            lNextPause = SKIPPED_BYTES;
            --lPassesLeft;
            continue;
        }
        if (ciReadOffset >= lNextPause) {
            platform::Sleep(SKIPPING_PAUSE);
            lNextPause = ciReadOffset + SKIPPED_BYTES;
        }
        const bool lFirstRecord = ciReadOffset == 0;
        const Scan lScan = NextRecord();
        if (lScan == Scan::FOUND)
            return 1;
        if (lScan == Scan::FAILED)
            return FailPass();
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

// False, with a line on the console, when there is nothing to play now.
bool FileLayer::BeginPass() {
    ciFileSize = cRecording != nullptr ? cRecording->BeginPass() : 0;
    if (ciFileSize > ciSettings.mFileSizeLimit) {
        Report(StackEvent::RECORDING_FAILED);
        PrintTooBig(static_cast<int64_t>(ciFileSize));
        ciError = FILE_OPEN_FAILED;
        return false;
    }
    if (ciFileSize < RECORD_HEADER_SIZE) {
        platform::Print("MDI File is too short (%d).\n", static_cast<int>(ciFileSize));
        return false;
    }
    return true;
}

void FileLayer::EndPass() {
    if (ciReadOffset < ciFileSize && !cCutOff) {  // what is left is too short for a record
        NoteRecord();
        Report(StackEvent::RECORDING_CUT_OFF);
    }
    cCutOff = false;
    Report(StackEvent::PASS_ENDED);
}

uint32_t FileLayer::FailPass() {
    Report(StackEvent::RECORDING_FAILED);
    cCutOff = false;
    ciReadOffset = 0;
    platform::Print("MDI File cannot be read at byte %" PRIu64 ".\n", Input().mOffset);
    return Fail(FILE_OPEN_FAILED);
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
    const unsigned char* const lpHeader = cRecording->View(ciReadOffset, RECORD_HEADER_SIZE);
    if (lpHeader == nullptr)
        return Scan::FAILED;
    std::memcpy(ciRecordHeader, lpHeader, RECORD_HEADER_SIZE);
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
    const unsigned char* const lpPacket = cRecording->View(ciReadOffset, static_cast<size_t>(lHeader.mPacketSize));
    if (lpPacket == nullptr)
        return Scan::FAILED;
    ciPacket->Rewind();
    ciPacket->SetSize(0);
    ciPacket->Write(static_cast<uint32_t>(lHeader.mPacketSize), lpPacket);
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
    const uint32_t lOffset = lIsAF ? AF_SEQUENCE_OFFSET : PFT_PSEQ_OFFSET;
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
    if (std::fwrite(ciRecordHeader, 1, RECORD_HEADER_SIZE, ciFile) == RECORD_HEADER_SIZE &&
        std::fwrite(aPacket.cData, 1, aPacket.GetSize(), ciFile) == aPacket.GetSize()) {
        cRecordedBytes += RECORD_HEADER_SIZE + aPacket.GetSize();
        return 1;
    }
    platform::CutFile(ciFile, cRecordedBytes);  // no piece of a record stays: readers would lose their step
    return Fail(FILE_WRITE_FAILED);
}
