#pragma once

#include <cstdint>

#include "Networking/FileLayer.h"

// Looks at the packets that a file layer in its one pass hands up, on their way to the PFT layer, which is silent about
// what it leaves out.  Does not own the file layer.
class RecordTap : public Layer {
public:
    explicit RecordTap(FileLayer* apFile);

    uint32_t Send(Packet*) override { return 0; }
    uint32_t Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t aTagIndex) override;

    uint32_t GetPackets() const { return cPackets; }  // AF packets, whole or begun by a fragment
    uint32_t GetDamagedFragments() const { return cDamagedFragments; }
    // Whether the fragments' numbering goes on from the last record to the first, or there are none.
    bool IsSeamless() const { return !cHasSequence || static_cast<uint16_t>(cSequence + 1) == cFirstSequence; }
    uint32_t GetRecord() const { return cRecords; }  // the number of the last one, from 1 on, skipped ones included

private:
    void Inspect(const Packet& aPacket);

    FileLayer* const cpFile;
    uint32_t cRecords = 0;
    uint32_t cPackets = 0;
    uint32_t cDamagedFragments = 0;
    bool cHasSequence = false;
    uint16_t cFirstSequence = 0;  // PSeq
    uint16_t cSequence = 0;       // the newest one
};
