// mdi-make: writes a recording of a synthetic DRM transmission.  Exit status 0; 1 when the file cannot be written; 2
// for bad usage.

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/MakeRecording.h"
#include "tools/MdiMakeOptions.h"

namespace {

int Fail(int aStatus, const std::string& aError) {
    std::fprintf(stderr, "mdi-make: %s\n", aError.c_str());
    return aStatus;
}

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
    std::string lError;
    if (!ParseOptions(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc), &lOptions, &lError)) {
        return Fail(2, lError);
    }
    if (lOptions.mHelp) {
        std::fputs(OptionsHelp().c_str(), stdout);
        return 0;
    }
    std::vector<unsigned char> lRecording;
    if (!MakeRecording(lOptions, &lRecording, &lError)) {
        return Fail(2, lError);
    }
    if (!WriteFile(lOptions.mOutput, lRecording)) {
        return Fail(1, "cannot write " + lOptions.mOutput + ": " + std::strerror(errno));
    }
    std::printf("%s: %u frames, %zu bytes\n", lOptions.mOutput.c_str(), static_cast<unsigned>(lOptions.mFrames),
                lRecording.size());
    return 0;
}
