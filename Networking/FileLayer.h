#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>

#include "Networking/RecordFormat.h"
#include "Networking/RecordingBytes.h"
#include "Networking/Transport.h"
#include "platform/File.h"

constexpr uint32_t FILE_MAX_PACKET_SIZE = RECORDING_MAX_VIEW;
constexpr uint32_t FILE_DEFAULT_RECORD_LIMIT = 10;

// The transport over a recording (RecordFormat.h): plays a file record by record in an endless loop, or records packets
// until a number of distinct sequence numbers has been counted.
//
// A file of at most FILE_MAX_SIZE bytes is held in memory from Open on.  A longer one, when the settings allow it, is
// read while it plays.  Its length is fixed at the beginning of each pass.
class FileLayer : public Transport {
public:
    FileLayer();
    ~FileLayer() override { Close(); }

    // Opens a file to record (anew, at most aLimit sequence numbers) or to play.  1, or 0 with FILE_OPEN_FAILED and a
    // line on the console.
    uint32_t Open(const char* apPath, bool aWrite, uint32_t aLimit);

    // Plays these bytes.  1, or 0 with FILE_OPEN_FAILED when their beginning cannot be read or they are too many.
    uint32_t Open(std::unique_ptr<RecordingBytes> aRecording);

    // Ends playing or recording.  All that was recorded is on the disk when it returns.
    void Close();

    // Appends a record, stamped 400 ms later for each new sequence number.  1, or 0 with FILE_END when the limit is
    // reached (the recording is closed then), FILE_WRITE_FAILED, or LAYER_PACKET_TOO_BIG.
    uint32_t Send(Packet* apPacket) override;

    // Sleeps *apTimeOut milliseconds, sets it to 0 and hands up the next AF packet or PF fragment of a registered
    // protocol.  Other records are skipped.  1; 2 with FILE_END when a record is cut off by the end of the file; 0
    // without a code when a whole pass finds nothing, and with a line on the console when the file is too short for a
    // record or its first record is cut off.  0 with FILE_OPEN_FAILED and a line on the console when the file cannot be
    // read on or has become too long: the rest of the pass is lost.  After 0 and 2 *apTimeOut is RETRY_DELAY, so that a
    // caller who asks again with it does not spin; and the layer waits by itself while its packets lead to no unit.
    //
    // In one pass (TransportSettings) it does not wait, and at the end of the recording, also at a record that is cut
    // off or cannot be read there, it gives 2 with FILE_END and is at its end.
    uint32_t Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t aTagIndex) override;

    std::FILE* ciFile = nullptr;  // while recording
    bool ciOpen = false;
    std::unique_ptr<Packet> ciPacket;
    char ciProtocol[3] = "";
    unsigned char ciRecordHeader[RECORD_HEADER_SIZE];
    uint32_t ciRecordLimit = FILE_DEFAULT_RECORD_LIMIT;
    uint32_t ciRecordCount = 0;  // distinct sequence numbers
    uint16_t ciLastSequence = 0;
    uint64_t ciFileSize = 0;    // of this pass
    uint64_t ciReadOffset = 0;  // of the next record; beyond the end after a record that claims to be longer

private:
    enum class Scan { FOUND, SKIPPED, CUT_OFF, FAILED };

    uint32_t OpenToPlay(const char* apPath, platform::FilePointer aFile);
    uint32_t FindPacket();
    uint32_t FindPacketOnce();
    bool BeginPass();
    Scan NextRecord();
    Scan ScanRecord();
    void NoteRecord();
    void EndPass();
    uint32_t FailPass();
    uint32_t WriteRecord(const Packet& aPacket);

    std::unique_ptr<RecordingBytes> cRecording;  // while playing
    bool cCutOff = false;                        // a record of this pass was cut off, and that has been reported
    uint64_t cRecordedBytes = 0;
};
