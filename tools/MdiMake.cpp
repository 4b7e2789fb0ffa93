// mdi-make: writes a recording of a synthetic DRM transmission.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tools/MakeRecording.h"
#include "tools/MdiMakeOptions.h"

namespace {

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
    CommandLine lLine = MdiMakeCommandLine(&lOptions);
    if (const auto lStatus = lLine.Read(argc, argv)) {
        return *lStatus;
    }
    std::vector<unsigned char> lRecording;
    std::string lError;
    if (!MakeRecording(lOptions, &lRecording, &lError)) {
        return lLine.Fail(STATUS_USAGE, lError);
    }
    const std::string& lOutput = lLine.GetOperand(0);
    if (!WriteFile(lOutput, lRecording)) {
        return lLine.Fail(STATUS_FAILED, "cannot write " + lOutput + ": " + std::strerror(errno));
    }
    std::printf("%s: %u frames, %zu bytes\n", lOutput.c_str(), static_cast<unsigned>(lOptions.mFrames),
                lRecording.size());
    return STATUS_DONE;
}
