#include "tools/SdcBuilder.h"

#include <string>

#include "Networking/CRC16.h"

namespace {

enum EntityType : uint32_t { ENTITY_MULTIPLEX = 0, ENTITY_LABEL = 1, ENTITY_AUDIO = 9 };

using Bytes = std::vector<unsigned char>;

constexpr uint32_t AAC_24_KHZ = 3;

// The header of a data entity: 12 bits, so that the first 4 of the body complete its second byte.
void PutEntityHeader(EntityType aType, size_t aBodySize, BitWriter* apWriter) {
    apWriter->Put(static_cast<uint32_t>(aBodySize), 7);
    apWriter->Put(0, 1);  // about the present configuration
    apWriter->Put(aType, 4);
}

Bytes MultiplexEntity(const Multiplex& aMultiplex) {
    BitWriter lWriter;
    PutEntityHeader(ENTITY_MULTIPLEX, 3 * aMultiplex.mStreams.size(), &lWriter);
    PutMultiplexDescription(aMultiplex, &lWriter);
    return lWriter.GetBytes();
}

Bytes AudioEntity(uint32_t aStream) {
    BitWriter lWriter;
    PutEntityHeader(ENTITY_AUDIO, 2, &lWriter);
    lWriter.Put(aStream, 2);  // short identifier of the service
    lWriter.Put(aStream, 2);
    lWriter.Put(0, 2);  // AAC
    lWriter.Put(0, 1);  // no spectral band replication
    lWriter.Put(0, 2);  // mono
    lWriter.Put(AAC_24_KHZ, 3);
    lWriter.Put(0, 1 + 1 + 5 + 1);  // no text message, no enhancement, coder field, reserved
    return lWriter.GetBytes();
}

Bytes LabelEntity(uint32_t aService) {
    const std::string lLabel = "Service " + std::to_string(aService + 1);
    BitWriter lWriter;
    PutEntityHeader(ENTITY_LABEL, lLabel.size(), &lWriter);
    lWriter.Put(aService, 2);
    lWriter.Put(0, 2);
    lWriter.PutText(lLabel);
    return lWriter.GetBytes();
}

// Turns each of aFields, filled up to aDataSize bytes, into a block.
std::vector<SdcBlock> FinishBlocks(const std::vector<Bytes>& aFields, size_t aDataSize) {
    const CRC16 lCRC(CRC16_POLYNOMIAL, true);
    std::vector<SdcBlock> lBlocks;
    for (const Bytes& lField : aFields) {
        // The AFS index: this many super frames later the block comes again.
        SdcBlock lBlock(1, static_cast<unsigned char>(aFields.size()));
        lBlock.insert(lBlock.end(), lField.begin(), lField.end());
        lBlock.resize(1 + aDataSize);
        const auto lCheck = lCRC.Compute(lBlock.data(), static_cast<int32_t>(lBlock.size()));
        lBlock.push_back(static_cast<unsigned char>(lCheck >> 8));
        lBlock.push_back(static_cast<unsigned char>(lCheck));
        lBlocks.push_back(lBlock);
    }
    return lBlocks;
}

}  // namespace

std::vector<SdcBlock> BuildSdcBlocks(const DrmMode& aMode, const Multiplex& aMultiplex) {
    std::vector<Bytes> lEntities = {MultiplexEntity(aMultiplex)};
    for (uint32_t lStream = 0; lStream < aMultiplex.mStreams.size(); ++lStream) {
        lEntities.push_back(AudioEntity(lStream));
        lEntities.push_back(LabelEntity(lStream));
    }
    const size_t lDataSize = SdcDataSize(aMode);
    std::vector<Bytes> lFields(1);
    for (const Bytes& lEntity : lEntities) {
        if (lEntity.size() > lDataSize)
            return {};
        if (lEntity.size() > lDataSize - lFields.back().size())
            lFields.emplace_back();
        lFields.back().insert(lFields.back().end(), lEntity.begin(), lEntity.end());
    }
    return FinishBlocks(lFields, lDataSize);
}
