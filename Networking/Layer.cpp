#include "Networking/Layer.h"

#include <cstring>

void Layer::SetLowerLayer(Layer* apLower) {
    ciLowerLayer = apLower;
    if (ciMaxPacketSize != LAYER_FIXED_MAX_PACKET_SIZE)
        DeriveMaxPacketSize();
}

void Layer::DeriveMaxPacketSize() {
    if (ciLowerLayer != nullptr)
        ciMaxPacketSize = ciLowerLayer->ciMaxPacketSize - ciOverhead;
}

void Layer::SetTag(char (&aTag)[3], const Packet& aPacket) {
    const bool lIsNamed = aPacket.ValidBytes() >= 2;
    aTag[0] = lIsNamed ? static_cast<char>(aPacket.cData[0]) : '\0';
    aTag[1] = lIsNamed ? static_cast<char>(aPacket.cData[1]) : '\0';
}

uint32_t Layer::RegisterTag(const char* apTag, uint32_t* apIndex) {
    if (IsThisTagRegistered(apTag))
        return 1;
    if (ciTagCount == LAYER_MAX_TAGS)
        return Fail(LAYER_TOO_MANY_TAGS);
    if (apIndex != nullptr)
        *apIndex = ciTagCount;
    ciTags[ciTagCount++] = apTag;
    return 1;
}

bool Layer::IsThisTagRegistered(const char* apTag) const {
    return GetTagIndex(apTag) != LAYER_NO_TAG_INDEX;
}

uint32_t Layer::GetTagIndex(const char* apTag) const {
    for (uint32_t lIndex = 0; apTag != nullptr && lIndex < ciTagCount; ++lIndex)
        if (std::strcmp(ciTags[lIndex], apTag) == 0)
            return lIndex;
    return LAYER_NO_TAG_INDEX;
}
