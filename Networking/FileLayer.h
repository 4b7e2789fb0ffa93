#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>

#include "Networking/RecordFormat.h"
#include "Networking/Transport.h"

constexpr uint32_t FILE_MAX_SIZE = 524288;  // bytes of a recording
constexpr uint32_t FILE_MAX_PACKET_SIZE = 4968;
constexpr uint32_t FILE_DEFAULT_RECORD_LIMIT = 10;

// The transport over a recording (RecordFormat.h): plays a file of at most 524,288 bytes, held in memory, record by
// record in an endless loop; or records packets until a number of distinct sequence numbers has been counted.
class FileLayer : public Transport {
public:
    FileLayer();
    ~FileLayer() override { Close(); }

    // Opens a file to record (anew, at most aLimit sequence numbers) or reads a whole recording.  1, or 0 with
    // FILE_OPEN_FAILED and a line on the console.
    uint32_t Open(const char* apPath, bool aWrite, uint32_t aLimit);

    // Ends playing or recording.  All that was recorded is on the disk when it returns.
    void Close();

    // Appends a record, stamped 400 ms later for each new sequence number.  1, or 0 with FILE_END when the limit is
    // reached (the recording is closed then), FILE_WRITE_FAILED, or LAYER_PACKET_TOO_BIG.
    uint32_t Send(Packet* apPacket) override;

    // Sleeps *apTimeOut milliseconds, sets it to 0 and hands up the next AF packet or PF fragment of a registered
    // protocol.  Other records are skipped.  1; 2 with FILE_END when a record is cut off by the end of the file; 0
    // without a code when a whole pass finds nothing, and with a line on the console when the file is too short for a
    // record or its first record is cut off.  After 0 and 2 *apTimeOut is RETRY_DELAY, so that a caller who asks again
    // with it does not spin; and the layer waits by itself while its packets lead to no unit.
    //
    // In one pass (TransportSettings) it does not wait, and at the end of the recording, also at a record that is cut
    // off there, it gives 2 with FILE_END and is at its end.
    uint32_t Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t aTagIndex) override;

    std::FILE* ciFile = nullptr;  // while recording
    bool ciOpen = false;
    std::unique_ptr<Packet> ciPacket;
    char ciProtocol[3] = "";
    unsigned char ciRecordHeader[RECORD_HEADER_SIZE];
    uint32_t ciRecordLimit = FILE_DEFAULT_RECORD_LIMIT;
    uint32_t ciRecordCount = 0;  // distinct sequence numbers
    uint16_t ciLastSequence = 0;
    uint32_t ciFileSize = 0;
    uint64_t ciReadOffset = 0;  // of the next record; beyond the end after a record that claims to be longer
    std::unique_ptr<unsigned char[]> ciImage;  // ciFileSize bytes

private:
    enum class Scan { FOUND, SKIPPED, CUT_OFF };

    uint32_t ReadImage(std::FILE* apFile);
    uint32_t FindPacket();
    uint32_t FindPacketOnce();
    Scan NextRecord();
    Scan ScanRecord();
    void NoteRecord();
    void EndPass();
    uint32_t WriteRecord(const Packet& aPacket);

    bool cCutOff = false;  // a record of this pass was cut off, and that has been reported
};
