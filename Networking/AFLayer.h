#pragma once

#include <cstdint>
#include <memory>

#include "Networking/AFPacket.h"
#include "Networking/CRC16.h"
#include "Networking/Layer.h"
#include "Networking/PacketQueue.h"

constexpr uint32_t AF_QUEUE_SIZE = 10;  // how many early packets are held back, and how far ahead they may be

// The Application Framing layer (ETSI TS 102 821): wraps TAG packets into AF packets with sequence numbers and CRC, and
// hands received payloads up in sequence.  A layer is used in one direction.
//
// When receiving, the first packet sets the numbering, and up to ten packets that come early wait for the missing ones.
// The numbering is given up, and the next packet sets it anew, when a packet is more than ten ahead or less than ten
// behind, and when the layer below times out or fails.  Ten or more behind counts as ahead, because the numbering has
// wrapped past 65535.  In file mode every valid packet counts as the next one.
class AFLayer : public Layer {
public:
    AFLayer();

    void SetMajorVersion(uint8_t aVersion) { ciMajorVersion = aVersion & 7; }
    void SetMinorVersion(uint8_t aVersion) { ciMinorVersion = aVersion & 15; }
    void SetFileMode(bool aOn) { ciFileMode = aOn; }

    // Returns 1; 0 with LAYER_TAG_NOT_REGISTERED, LAYER_PACKET_TOO_BIG, PACKET_WRITE_OVERFLOW or the code of the layer
    // below.  A failure uses up no sequence number.
    uint32_t Send(Packet* apPacket) override;

    // Returns 1 with the next payload, whose cProtocol is its protocol type; 2 when nothing came; 0 without a code when
    // a packet failed its checks (with a line on the console) or was out of sequence; 0 with the code of the layer
    // below when that failed.
    uint32_t Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t aTagIndex) override;

    bool ciUseCRC = false;
    bool ciFileMode = false;
    bool ciLive = false;  // the CRC was checked below, and what fails is passed over without a line on the console
    uint8_t ciMajorVersion = AF_MAJOR_VERSION;  // the version that is sent and the only one accepted
    uint8_t ciMinorVersion = 0;
    uint16_t ciSequence = 0;         // number of the next packet to be sent or received
    char ciPayloadProtocol[2] = "";  // protocol type of the packet in hand, and a NUL
    std::unique_ptr<AFPacket> ciPacket;
    std::unique_ptr<PacketQueue> ciQueue;
    std::unique_ptr<CRC16> ciCRC;

private:
    enum State : uint32_t { NOT_SYNCHRONISED = 0, SYNCHRONISED = 2 };
    enum class Verdict { EXPECTED, EARLY, OUT_OF_SEQUENCE };

    void NewPacket(uint32_t aCapacity);
    bool TakeFromQueue(Packet* apOut);
    uint32_t LoseSynchronisation(uint32_t aResult);
    void DropQueue();
    Verdict Judge(uint16_t aSequence) const;
};
