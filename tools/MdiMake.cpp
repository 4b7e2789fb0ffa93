// mdi-make: writes a recording of a synthetic DRM transmission.

#include <string>
#include <vector>

#include "Networking/DCPAddress.h"
#include "tools/MakeRecording.h"
#include "tools/MdiMakeOptions.h"
#include "tools/Output.h"
#include "tools/OutputFile.h"
#include "tools/StatusText.h"

namespace {

constexpr char PURPOSE[] =
    "Writes a recording of a synthetic DRM transmission.  Each stream is announced\n"
    "as an audio service, but its bytes are a test pattern.  The strongest\n"
    "protection that carries the streams is chosen.";

bool FitsAddress(const std::string& aPath) {
    DCPAddress lParts;
    return lParts.Parse(("dcp.file:" + aPath + ":0:0").c_str()) == 0 && lParts.mName == aPath;
}

}  // namespace

int main(int argc, char** argv) {
    PrepareTool();
    MdiMakeOptions lOptions;
    CommandLine lLine("mdi-make", PURPOSE);
    AddMdiMakeOptions(&lLine, &lOptions);
    if (const auto lStatus = lLine.Read(argc, argv))
        return *lStatus;
    std::vector<unsigned char> lRecording;
    std::string lError;
    if (!MakeRecording(lOptions, &lRecording, &lError))
        return lLine.Fail(STATUS_USAGE, lError);
    OutputFile lFile(lOptions.mOutput);
    if (!lFile.Open() || !lFile.Write(lRecording.data(), lRecording.size()) || !lFile.Finish())
        return lLine.Fail(STATUS_FAILED, "cannot write " + lOptions.mOutput + ": " + SystemText(lFile.GetError()));
    if (!FitsAddress(lOptions.mOutput)) {
        lLine.Say("warning: no DCP address can hold '" + lOptions.mOutput +
                  "'; it takes paths of at most 103 characters without blanks, colons and question marks");
    }
    PrintLine(lOptions.mOutput + ": " + std::to_string(lOptions.mFrames) + " frames, " +
              std::to_string(lRecording.size()) + " bytes");
    return STATUS_DONE;
}
