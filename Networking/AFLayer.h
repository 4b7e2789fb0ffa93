#pragma once

#include <cstdint>
#include <memory>

#include "Networking/AFPacket.h"
#include "Networking/CRC16.h"
#include "Networking/Layer.h"
#include "Networking/PacketQueue.h"

constexpr uint32_t AF_QUEUE_SIZE = 10;  // early packets that are held back, and how far ahead they may be

// The Application Framing layer (ETSI TS 102 821): wraps TAG packets into AF packets with sequence numbers and CRC, and
// hands received payloads up in sequence.  Used in one direction.
//
// Receiving, the first packet sets the numbering; up to ten that come early wait for the missing ones.  A packet more
// than ten ahead, one less than ten behind and any interruption from below give the numbering up: the next packet sets
// it anew.  One farther behind counts as ahead, across the wrap.  In file mode every valid packet counts as the next
// one.
class AFLayer : public Layer {
public:
    AFLayer();

    void SetMajorVersion(uint8_t aVersion) { ciMajorVersion = aVersion & 7; }
    void SetMinorVersion(uint8_t aVersion) { ciMinorVersion = aVersion & 15; }
    void SetFileMode(bool aOn) { ciFileMode = aOn; }

    // 1, or 0 with LAYER_TAG_NOT_REGISTERED, LAYER_PACKET_TOO_BIG, PACKET_WRITE_OVERFLOW or the code of the layer
    // below; a failure uses up no sequence number.
    uint32_t Send(Packet* apPacket) override;

    // 1 the next payload, with its protocol type as protocol; 2 nothing came; 0 a packet failed its checks (with a line
    // on the console) or was out of sequence, both without a code, or the layer below failed, with its code.
    uint32_t Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t aTagIndex) override;

    bool ciUseCRC = false;
    bool ciFileMode = false;
    uint8_t ciMajorVersion = 1;  // the only one accepted
    uint8_t ciMinorVersion = 0;
    uint16_t ciSequence = 0;         // sending: of the next packet; receiving: expected next
    char ciPayloadProtocol[2] = "";  // protocol type of the packet in hand
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
