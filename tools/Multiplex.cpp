#include "tools/Multiplex.h"

#include <algorithm>

namespace {

// Wide channels carry more, but a few hundred frames of it would be too long for a recording.
constexpr uint32_t MAX_DEFAULT_SIZE = 960;

using Capacity = uint32_t (*)(const DrmMode&, unsigned);

std::vector<uint32_t> DefaultStreams(const DrmMode& aMode) {
    const uint32_t lRest = std::min(StreamCapacity(aMode, 0), MAX_DEFAULT_SIZE);
    if (IsHierarchical(aMode))
        return {HierarchicalCapacity(aMode, 0), lRest / 2};
    return {lRest - lRest / 4, lRest / 4};
}

// The strongest of aLevels levels that carries aSize bytes into *apLevel, or false and the reason.
bool ChooseLevel(const DrmMode& aMode, uint32_t aSize, Capacity aCapacity, unsigned aLevels, unsigned* apLevel,
                 std::string* apError) {
    for (*apLevel = 0; *apLevel < aLevels; ++*apLevel)
        if (aSize <= aCapacity(aMode, *apLevel))
            return true;
    *apError = "take " + std::to_string(aSize) + " bytes per frame; the channel carries " +
               std::to_string(aCapacity(aMode, aLevels - 1)) + " at most";
    return false;
}

}  // namespace

bool MakeMultiplex(const DrmMode& aMode, const std::vector<uint32_t>& aStreams, Multiplex* apMultiplex,
                   std::string* apError) {
    apMultiplex->mStreams = aStreams.empty() ? DefaultStreams(aMode) : aStreams;
    apMultiplex->mHierarchical = IsHierarchical(aMode);
    uint32_t lSize = 0;
    for (const uint32_t lStream : apMultiplex->mStreams)
        lSize += lStream;
    std::string lReason;
    if (apMultiplex->mHierarchical) {
        const uint32_t lFirst = apMultiplex->mStreams[0];
        if (!ChooseLevel(aMode, lFirst, HierarchicalCapacity, HIERARCHICAL_PROTECTION_LEVELS,
                         &apMultiplex->mHierarchicalLevel, &lReason)) {
            *apError = "the hierarchical stream 0 would " + lReason;
            return false;
        }
        lSize -= lFirst;
    }
    if (!ChooseLevel(aMode, lSize, StreamCapacity, ProtectionLevels(aMode), &apMultiplex->mLevel, &lReason)) {
        *apError = "the streams would " + lReason;
        return false;
    }
    return true;
}

void PutMultiplexDescription(const Multiplex& aMultiplex, BitWriter* apWriter) {
    apWriter->Put(0, 2);  // part A is empty
    apWriter->Put(aMultiplex.mLevel, 2);
    for (size_t lStream = 0; lStream < aMultiplex.mStreams.size(); ++lStream) {
        if (lStream == 0 && aMultiplex.mHierarchical) {
            apWriter->Put(aMultiplex.mHierarchicalLevel, 2);
            apWriter->Put(0, 10);
        } else {
            apWriter->Put(0, 12);
        }
        apWriter->Put(aMultiplex.mStreams[lStream], 12);
    }
}
