// mdi-make: writes a recording of a synthetic DRM transmission.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tools/MakeRecording.h"
#include "tools/MdiMakeOptions.h"

namespace {

constexpr char PURPOSE[] =
    "Writes a recording of a synthetic DRM transmission.  Each stream is announced\n"
    "as an audio service, but its bytes are a test pattern.  The strongest\n"
    "protection that carries the streams is chosen.";

bool WriteFile(const std::string& aPath, const std::vector<unsigned char>& aBytes) {
    std::FILE* lpFile = std::fopen(aPath.c_str(), "wb");
    if (lpFile == nullptr) {
        return false;
    }
    const bool lWritten = std::fwrite(aBytes.data(), 1, aBytes.size(), lpFile) == aBytes.size();
    return std::fclose(lpFile) == 0 && lWritten;
}

}  // namespace

int main(int argc, char** argv) {
    MdiMakeOptions lOptions;
    CommandLine lLine("mdi-make", PURPOSE);
    AddMdiMakeOptions(&lLine, &lOptions);
    if (const auto lStatus = lLine.Read(argc, argv)) {
        return *lStatus;
    }
    std::vector<unsigned char> lRecording;
    std::string lError;
    if (!MakeRecording(lOptions, &lRecording, &lError)) {
        return lLine.Fail(STATUS_USAGE, lError);
    }
    if (!WriteFile(lOptions.mOutput, lRecording)) {
        return lLine.Fail(STATUS_FAILED, "cannot write " + lOptions.mOutput + ": " + std::strerror(errno));
    }
    std::printf("%s: %u frames, %zu bytes\n", lOptions.mOutput.c_str(), static_cast<unsigned>(lOptions.mFrames),
                lRecording.size());
    return STATUS_DONE;
}
