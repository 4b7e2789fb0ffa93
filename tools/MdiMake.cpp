// mdi-make: writes a recording of a synthetic DRM transmission.

#include <string>
#include <vector>

#include "Networking/DCPAddress.h"
#include "Networking/Transport.h"
#include "platform/Interrupt.h"
#include "tools/MakeRecording.h"
#include "tools/MdiMakeOptions.h"
#include "tools/Output.h"
#include "tools/OutputFile.h"
#include "tools/Progress.h"
#include "tools/StatusText.h"
#include "tools/Text.h"

namespace {

constexpr char PURPOSE[] =
    "Writes a recording of a synthetic DRM transmission.  Each stream is announced\n"
    "as an audio service, but its bytes are a test pattern.  The strongest\n"
    "protection that carries the streams is chosen.";

bool FitsAddress(const std::string& aPath) {
    DCPAddress lParts;
    return lParts.Parse(("dcp.file:" + aPath + ":0:0").c_str()) == 0 && lParts.mName == aPath;
}

// Writes the frames of a recording to its file, which is opened for the first of them.
class Writer {
public:
    explicit Writer(const MdiMakeOptions& aOptions) : cAllFrames(aOptions.mFrames), cFile(aOptions.mOutput) {}

    bool Write(const std::vector<unsigned char>& aFrame) {
        if (platform::Interrupted() || (cFrames == 0 && !cFile.Open()) || !cFile.Write(aFrame.data(), aFrame.size()))
            return false;
        ++cFrames;
        cBytes += aFrame.size();
        if (cProgress.IsDue())
            cProgress.Show(Count(cFrames, "frame"), static_cast<double>(cFrames) / cAllFrames);
        return true;
    }
    bool Finish() { return cFile.Finish(); }
    void ClearProgress() { cProgress.Clear(); }

    uint64_t GetBytes() const { return cBytes; }
    // Why the file could not be written.
    std::string GetError() const { return cFile.GetError() == 0 ? "interrupted" : SystemText(cFile.GetError()); }

private:
    const uint32_t cAllFrames;
    OutputFile cFile;
    Progress cProgress;
    uint64_t cFrames = 0;
    uint64_t cBytes = 0;
};

}  // namespace

int main(int argc, char** argv) {
    PrepareTool();
    MdiMakeOptions lOptions;
    CommandLine lLine("mdi-make", PURPOSE);
    AddMdiMakeOptions(&lLine, &lOptions);
    if (const auto lStatus = lLine.Read(argc, argv))
        return *lStatus;
    Writer lWriter(lOptions);
    std::string lError;
    const bool lMade = MakeRecording(
        lOptions, [&lWriter](const std::vector<unsigned char>& aFrame) { return lWriter.Write(aFrame); }, &lError);
    lWriter.ClearProgress();
    if (!lError.empty())
        return lLine.Fail(STATUS_USAGE, lError);
    if (!lMade || !lWriter.Finish())
        return lLine.Fail(STATUS_FAILED, "cannot write " + lOptions.mOutput + ": " + lWriter.GetError());
    if (!FitsAddress(lOptions.mOutput)) {
        lLine.Say("warning: no DCP address can hold '" + lOptions.mOutput +
                  "'; it takes paths of at most 103 characters without blanks, colons and question marks");
    }
    if (lWriter.GetBytes() > FILE_MAX_SIZE)
        lLine.Say("the recording is " + LongerThanDefault());
    PrintLine(lOptions.mOutput + ": " + std::to_string(lOptions.mFrames) + " frames, " +
              std::to_string(lWriter.GetBytes()) + " bytes");
    return STATUS_DONE;
}
