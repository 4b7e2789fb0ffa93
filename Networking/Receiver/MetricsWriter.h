#pragma once

#include <mutex>
#include <string>

#include "Networking/Receiver/PlayerMetrics.h"

// Keeps a file with the metrics up to date, from a thread of its own.  A reader finds one whole text in it at any time:
// each is written beside it, with ".tmp" behind the name, and then takes its place.  The file is readable to those whom
// the process's umask lets read.
//
// Once started it must stay until the process is gone, and so must the metrics.
class MetricsWriter {
public:
    MetricsWriter(const PlayerMetrics& aMetrics, const std::string& aPath) : cMetrics(aMetrics), cPath(aPath) {}

    // Whether the path can be written and is no other thing than a file.
    static bool CanWrite(const std::string& aPath);

    // Starts the thread, which writes the file now and every 10 s.
    void Start();

    // Writes the file now.  The first failure of each outage leaves a line in the trace file.  Any thread.
    void Write();

    // Writes it for the last time.
    void Finish();

private:
    static void Run(void* apWriter);
    bool Replace() const;

    const PlayerMetrics& cMetrics;
    const std::string cPath;
    std::mutex cMutex;      // held while the file is written
    bool cFailing = false;  // under the mutex, both
    bool cFinished = false;
};
