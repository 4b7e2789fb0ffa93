#include "tools/MakeRecording.h"

#include "tools/MdiFrames.h"

bool MakeRecording(const MdiMakeOptions& aOptions, const FrameSink& aSink, std::string* apError) {
    if (!ModeExists(aOptions.mMode)) {
        *apError = "robustness modes C and D have occupancies 3 and 5 (10 and 20 kHz) only";
        return false;
    }
    Multiplex lMultiplex;
    if (!MakeMultiplex(aOptions.mMode, aOptions.mStreams, &lMultiplex, apError))
        return false;
    const std::vector<SdcBlock> lBlocks = BuildSdcBlocks(aOptions.mMode, lMultiplex);
    if (lBlocks.empty()) {
        *apError = "the service description channel is too narrow to describe " +
                   std::to_string(lMultiplex.mStreams.size()) + " streams";
        return false;
    }
    MdiFrames lFrames(aOptions.mMode, lMultiplex, lBlocks, aOptions.mFirstIdentity);
    RecordingWriter lWriter(aOptions.mFormat);
    for (uint32_t lFrame = 0; lFrame < aOptions.mFrames; ++lFrame)
        if (!lWriter.AddFrame(*lFrames.Next(), apError) || !aSink(lWriter.GetBytes()))
            return false;
    return true;
}
