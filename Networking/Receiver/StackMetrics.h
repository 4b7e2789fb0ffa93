#pragma once

#include "Networking/Receiver/PlayerMetrics.h"
#include "Networking/StackObserver.h"

// Counts what an endpoint's stack meets.  The metrics outlive it.
class StackMetrics : public StackObserver {
public:
    explicit StackMetrics(PlayerMetrics& aMetrics) : cMetrics(aMetrics) {}

    void Observe(const StackReport& aReport) override;

private:
    PlayerMetrics& cMetrics;
};
