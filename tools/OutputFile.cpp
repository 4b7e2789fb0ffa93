#include "tools/OutputFile.h"

#include <cerrno>
#include <random>
#include <string>
#include <system_error>
#include <utility>

#include "platform/File.h"

OutputFile::~OutputFile() {
    if (cFile != nullptr)
        std::fclose(cFile);
    if (!cTemporary.empty()) {
        std::error_code lIgnored;
        std::filesystem::remove(cTemporary, lIgnored);
    }
}

bool OutputFile::Open() {
    std::error_code lIgnored;
    const auto lFormer = std::filesystem::status(cTarget, lIgnored);
    const bool lReplaces = std::filesystem::is_regular_file(lFormer);
    if (std::filesystem::exists(lFormer) && !lReplaces) {
        cFile = std::fopen(cTarget.string().c_str(), "wb");
        return Check(cFile != nullptr);
    }
    if (lReplaces)
        cTarget = std::filesystem::canonical(cTarget, lIgnored);
    std::filesystem::path lTemporary = cTarget;
    lTemporary.replace_filename(".new-" + std::to_string(std::random_device()()));
    cFile = std::fopen(lTemporary.string().c_str(), "wbx");
    if (!Check(cFile != nullptr))
        return false;
    cTemporary = lTemporary;
    if (lReplaces)
        std::filesystem::permissions(cTemporary, lFormer.permissions(), lIgnored);
    return true;
}

bool OutputFile::Write(const unsigned char* apBytes, size_t aSize) {
    return Check(std::fwrite(apBytes, 1, aSize, cFile) == aSize);
}

bool OutputFile::Finish() {
    const bool lDirect = cTemporary.empty();
    const bool lWritten = Check(lDirect ? std::fflush(cFile) == 0 : platform::SyncFile(cFile));
    const bool lClosed = std::fclose(std::exchange(cFile, nullptr)) == 0;
    if (!lWritten || !Check(lClosed) || lDirect)
        return lWritten && lClosed;
    std::error_code lError;
    std::filesystem::rename(cTemporary, cTarget, lError);
    cError = lError.value();
    if (!lError)
        cTemporary.clear();
    return !lError;
}

bool OutputFile::Check(bool aSuccess) {
    if (!aSuccess)
        cError = errno;
    return aSuccess;
}
