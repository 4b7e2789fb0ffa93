#pragma once

#include <atomic>
#include <cstdint>

#include "Networking/Packet.h"
#include "Networking/StackObserver.h"

constexpr uint32_t LAYER_MAX_TAGS = 2;
// A layer with this ciMaxPacketSize keeps it, whatever the layer below takes.
constexpr uint32_t LAYER_FIXED_MAX_PACKET_SIZE = 15000;
constexpr uint32_t LAYER_NO_TAG_INDEX = 0xFFFFFFFF;

// One protocol layer of a DCP endpoint: packets go down with Send and are pulled up with Receive.  A stack of layers is
// wired from the bottom up with SetLowerLayer and used by one task.  A layer does not own the layer below it.
//
// Protocols are named by tags.  The tags of the packets that the layer above hands down, or wants handed up, must be
// registered.
class Layer {
public:
    Layer() = default;
    Layer(const Layer&) = delete;
    Layer& operator=(const Layer&) = delete;
    virtual ~Layer() = default;

    // Passes a packet of the layer above down in this layer's form.  Returns 1; 0 with a code.
    virtual uint32_t Send(Packet* apPacket) = 0;

    // Makes apOut, a packet of capacity 0, view the next packet for the layer above; the view lasts until the next
    // Receive on this layer.  *apTimeOut is for the transport, in milliseconds: a network waits at most so long; a file
    // pauses so long before it reads and then sets it to 0.  aTagIndex is 0 inside a stack.
    // Returns 1 with a packet; 2 when nothing came; 0 after a failure, with a code unless the layer says otherwise.
    virtual uint32_t Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t aTagIndex) = 0;

    // Stores the layer below.  Unless ciMaxPacketSize is LAYER_FIXED_MAX_PACKET_SIZE, it becomes that of the layer
    // below less ciOverhead.
    void SetLowerLayer(Layer* apLower);

    // Adds a tag, whose text is not copied, and stores its index (0 or 1) in *apIndex unless apIndex is null.  Returns
    // 1, also for a tag that is registered already, which leaves *apIndex unchanged; 0 with LAYER_TOO_MANY_TAGS for a
    // third tag.
    uint32_t RegisterTag(const char* apTag, uint32_t* apIndex);
    bool IsThisTagRegistered(const char* apTag) const;
    uint32_t GetTagIndex(const char* apTag) const;  // LAYER_NO_TAG_INDEX when it is not registered

    uint32_t GetError() { return ciError.exchange(0); }  // returns the last code and clears it

    // Reports what happened to the stack's observer, if there is one.
    void Report(StackEvent aEvent, uint64_t aCount = 1, uint32_t aNumber = NO_EVENT_NUMBER) {
        if (ciReporter != nullptr)
            ciReporter->Report(aEvent, aCount, aNumber);
    }

    // Copies the first two bytes of a received packet, which name its protocol, to aTag; two NULs when the packet is
    // shorter.  aTag[2] must be NUL already.
    static void SetTag(char (&aTag)[3], const Packet& aPacket);

    uint32_t ciMaxPacketSize = 0;       // bytes of the largest packet that the layer takes from above
    uint32_t ciOverhead = 0;            // bytes that the layer adds to a packet
    std::atomic<uint32_t> ciError = 0;  // the last code; a task writes it while the application may fetch it
    uint32_t ciState = 0;               // its values belong to the subclass
    Layer* ciLowerLayer = nullptr;
    bool ciAtEnd = false;  // a transport has nothing more to give, so the layers above wait for nothing more
    StackReporter* ciReporter = nullptr;  // shared by the stack, not owned; null: nothing is reported
    uint16_t ciTagCount = 0;
    const char* ciTags[LAYER_MAX_TAGS] = {};

protected:
    // Stores a code and returns 0, the result of a failure.
    uint32_t Fail(uint32_t aCode) {
        ciError = aCode;
        return 0;
    }
    // Fails with the code of the layer below.
    uint32_t FailAsBelow() { return Fail(ciLowerLayer->GetError()); }

    void DeriveMaxPacketSize();
};
