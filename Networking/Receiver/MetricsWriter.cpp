#include "Networking/Receiver/MetricsWriter.h"

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "platform/Clock.h"
#include "platform/Lock.h"
#include "platform/Thread.h"
#include "runtime/Trace.h"

namespace {

namespace fs = std::filesystem;

constexpr uint32_t WRITE_PERIOD = 10'000;  // milliseconds

constexpr char TEMPORARY[] = ".tmp";

// A device would be replaced like a file.
bool IsFileOrNothing(const std::string& aPath) {
    std::error_code lError;
    const fs::file_status lStatus = fs::status(aPath, lError);
    return !fs::exists(lStatus) || fs::is_regular_file(lStatus);
}

bool WriteFile(const std::string& aPath, const std::string& aText) {
    std::FILE* const lpFile = std::fopen(aPath.c_str(), "w");
    if (lpFile == nullptr)
        return false;
    const bool lWritten = std::fwrite(aText.data(), 1, aText.size(), lpFile) == aText.size();
    return std::fclose(lpFile) == 0 && lWritten;
}

}  // namespace

bool MetricsWriter::CanWrite(const std::string& aPath) {
    std::error_code lError;
    return IsFileOrNothing(aPath) && WriteFile(aPath + TEMPORARY, "\n") && fs::remove(aPath + TEMPORARY, lError);
}

void MetricsWriter::Start() {
    platform::Thread().Start(Run, this);
}

void MetricsWriter::Run(void* apWriter) {
    for (;;) {
        static_cast<MetricsWriter*>(apWriter)->Write();
        platform::Sleep(WRITE_PERIOD);
    }
}

void MetricsWriter::Write() {
    const platform::Lock lLock(cMutex);
    if (cFinished)
        return;
    const bool lFailed = !Replace();
    if (lFailed && !cFailing)
        WriteTrace(("writing the metrics file failed: " + cPath).c_str());
    cFailing = lFailed;
}

void MetricsWriter::Finish() {
    Write();
    const platform::Lock lLock(cMutex);
    cFinished = true;
}

bool MetricsWriter::Replace() const {
    const std::string lTemporary = cPath + TEMPORARY;
    std::error_code lError;
    if (IsFileOrNothing(cPath) && WriteFile(lTemporary, cMetrics.Text())) {
        fs::rename(lTemporary, cPath, lError);
        if (!lError)
            return true;
    }
    fs::remove(lTemporary, lError);
    return false;
}
