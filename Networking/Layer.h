#pragma once

#include <atomic>
#include <cstdint>

#include "Networking/Packet.h"
#include "Networking/StackObserver.h"

constexpr uint32_t LAYER_MAX_TAGS = 2;
// A ciMaxPacketSize that does not follow from the layer below.
constexpr uint32_t LAYER_FIXED_MAX_PACKET_SIZE = 15000;
constexpr uint32_t LAYER_NO_TAG_INDEX = 0xFFFFFFFF;

// One protocol layer of a DCP endpoint: packets go down with Send and are pulled up with Receive.  A stack is wired
// from the bottom up with SetLowerLayer and used by one task; a layer does not own the one below it.
//
// Protocols are named by tags: the layer above registers those that it hands down or wants handed up.
class Layer {
public:
    Layer() = default;
    Layer(const Layer&) = delete;
    Layer& operator=(const Layer&) = delete;
    virtual ~Layer() = default;

    // Passes a packet of the layer above down in this layer's form.  1, or 0 with a code.
    virtual uint32_t Send(Packet* apPacket) = 0;

    // Makes apOut, a packet of capacity 0, view the next packet for the layer above; the view lasts until the next
    // Receive on this layer.  *apTimeOut is for the transport: over a network the longest wait, for a file the pause
    // before the read, which sets it to 0; both in milliseconds.  aTagIndex is 0 inside a stack.
    // 1 a packet; 2 nothing came; 0 a failure, with a code unless the layer says otherwise.
    virtual uint32_t Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t aTagIndex) = 0;

    // Stores the layer below and, unless ciMaxPacketSize is fixed, derives it: the lower one's less ciOverhead.
    void SetLowerLayer(Layer* apLower);

    // Adds a tag (the text is not copied) and stores its index, 0 or 1, unless apIndex is null: 1.  1 for a tag that is
    // there already, *apIndex as it was.  0 with LAYER_TOO_MANY_TAGS for a third one.
    uint32_t RegisterTag(const char* apTag, uint32_t* apIndex);
    bool IsThisTagRegistered(const char* apTag) const;
    uint32_t GetTagIndex(const char* apTag) const;  // LAYER_NO_TAG_INDEX when it is not registered

    uint32_t GetError() { return ciError.exchange(0); }

    // Tells the stack's observer, if there is one.
    void Report(StackEvent aEvent, uint64_t aCount = 1, uint32_t aNumber = NO_EVENT_NUMBER) {
        if (ciReporter != nullptr)
            ciReporter->Report(aEvent, aCount, aNumber);
    }

    // Writes the protocol that a received packet's first two bytes name, and a NUL; empty for a shorter packet.
    static void SetTag(char (&aTag)[3], const Packet& aPacket);

    uint32_t ciMaxPacketSize = 0;       // bytes that the layer takes from above
    uint32_t ciOverhead = 0;            // bytes that it adds to a packet
    std::atomic<uint32_t> ciError = 0;  // the last code; a task writes it, the application may fetch it
    uint32_t ciState = 0;               // the subclass's
    Layer* ciLowerLayer = nullptr;
    bool ciAtEnd = false;  // a transport has come to the end of what there is: the layers above wait for nothing more
    StackReporter* ciReporter = nullptr;  // the stack's; not owned; null: nobody is told anything
    uint16_t ciTagCount = 0;
    const char* ciTags[LAYER_MAX_TAGS] = {};

protected:
    // Keeps a code and is the failure's result.
    uint32_t Fail(uint32_t aCode) {
        ciError = aCode;
        return 0;
    }
    // Takes over the code of the layer below.
    uint32_t FailAsBelow() { return Fail(ciLowerLayer->GetError()); }

    void DeriveMaxPacketSize();
};
