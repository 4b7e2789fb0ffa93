#include "Networking/Receiver/PlayerMetrics.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>

#include "Networking/Receiver/MetricsWriter.h"
#include "Networking/StatusCodes.h"
#include "tests/unit/TestSupport.h"

namespace {

using namespace std::chrono_literals;

// Without the help, with words in the place of what stands in every line and of times.
constexpr char GOLDEN[] = R"(# TYPE tessavox_build_info gauge
tessavox_build_info{OUTPUT,version="0.1.0"} 1
# TYPE tessavox_start_time_seconds gauge
tessavox_start_time_seconds{OUTPUT} TIME
# TYPE tessavox_units_sent_total counter
tessavox_units_sent_total{OUTPUT} 2
# TYPE tessavox_units_dropped_total counter
tessavox_units_dropped_total{OUTPUT,reason="damaged"} 0
tessavox_units_dropped_total{OUTPUT,reason="foreign"} 0
tessavox_units_dropped_total{OUTPUT,reason="order"} 0
tessavox_units_dropped_total{OUTPUT,reason="receive_queue"} 0
tessavox_units_dropped_total{OUTPUT,reason="send_queue"} 1
# TYPE tessavox_sender_errors_total counter
tessavox_sender_errors_total{OUTPUT,code="0"} 1
tessavox_sender_errors_total{OUTPUT,code="9"} 0
tessavox_sender_errors_total{OUTPUT,code="12"} 1
tessavox_sender_errors_total{OUTPUT,code="19"} 1
# TYPE tessavox_destination_usable gauge
tessavox_destination_usable{OUTPUT} 0
# TYPE tessavox_recording_passes_total counter
tessavox_recording_passes_total{OUTPUT} 1
# TYPE tessavox_last_unit_timestamp_seconds gauge
tessavox_last_unit_timestamp_seconds{OUTPUT} TIME
# TYPE tessavox_queue_length gauge
tessavox_queue_length{OUTPUT,queue="receive"} 9
tessavox_queue_length{OUTPUT,queue="send"} 0
# TYPE tessavox_new_grids_total counter
tessavox_new_grids_total{OUTPUT} 1
# TYPE tessavox_pacing_deviation_seconds histogram
tessavox_pacing_deviation_seconds_bucket{OUTPUT,le="5e-05"} 1
tessavox_pacing_deviation_seconds_bucket{OUTPUT,le="0.0001"} 2
tessavox_pacing_deviation_seconds_bucket{OUTPUT,le="0.0002"} 2
tessavox_pacing_deviation_seconds_bucket{OUTPUT,le="0.0005"} 2
tessavox_pacing_deviation_seconds_bucket{OUTPUT,le="0.001"} 2
tessavox_pacing_deviation_seconds_bucket{OUTPUT,le="0.002"} 2
tessavox_pacing_deviation_seconds_bucket{OUTPUT,le="0.005"} 2
tessavox_pacing_deviation_seconds_bucket{OUTPUT,le="0.01"} 2
tessavox_pacing_deviation_seconds_bucket{OUTPUT,le="0.02"} 2
tessavox_pacing_deviation_seconds_bucket{OUTPUT,le="0.05"} 2
tessavox_pacing_deviation_seconds_bucket{OUTPUT,le="0.1"} 2
tessavox_pacing_deviation_seconds_bucket{OUTPUT,le="0.2"} 2
tessavox_pacing_deviation_seconds_bucket{OUTPUT,le="0.4"} 3
tessavox_pacing_deviation_seconds_bucket{OUTPUT,le="+Inf"} 4
tessavox_pacing_deviation_seconds_sum{OUTPUT} 1.900100001
tessavox_pacing_deviation_seconds_count{OUTPUT} 4
)";

std::string Shortened(const std::string& aText) {
    const std::string LABEL = R"(output="10.0.0.2:5000\"\\")";
    std::istringstream lLines(aText);
    std::string lShortened;
    for (std::string lLine; std::getline(lLines, lLine);) {
        if (lLine.starts_with("# HELP tessavox_"))
            continue;
        if (const size_t lLabel = lLine.find(LABEL); lLabel != std::string::npos)
            lLine.replace(lLabel, LABEL.size(), "OUTPUT");
        const size_t lValue = lLine.rfind(' ') + 1;
        if (lLine.find("time") < lValue && lLine.size() - lValue == std::strlen("1234567890.123"))
            lLine.replace(lValue, std::string::npos, "TIME");
        lShortened += lLine + "\n";
    }
    return lShortened;
}

TEST(PlayerMetricsTest, TellsAllInTheTextFormat) {
    PlayerMetrics lMetrics("10.0.0.2:5000\"\\");
    lMetrics.UnitSent();
    lMetrics.UnitSent();
    lMetrics.UnitRefused(UDP_SEND_FAILED);
    lMetrics.UnitRefused(LAYER_PACKET_TOO_BIG);
    lMetrics.UnitRefused(64);
    lMetrics.UnitDropped(DropReason::SEND_QUEUE);
    lMetrics.PassEnded();
    lMetrics.NewGrid();
    lMetrics.QueueLength(PlayerQueue::RECEIVE, 9);
    for (const auto lDeviation : {50'000ns, -50'001ns, 400'000'000ns, 1'500'000'000ns})
        lMetrics.PacingDeviation(lDeviation);
    EXPECT_EQ(GOLDEN, Shortened(lMetrics.Text()));
    EXPECT_EQ(5u, lMetrics.GetUnitsFinished());
    EXPECT_EQ("Units: 2 sent, 3 refused, 1 dropped", lMetrics.StatusLine());
}

TEST(MetricsWriterTest, TracesEachOutageOnce) {
    const TestDirectory lDirectory;
    const PlayerMetrics lMetrics("output");
    MetricsWriter lWriter(lMetrics, "directory/file");
    for (size_t lOutage = 1; lOutage <= 2; ++lOutage) {
        lWriter.Write();
        lWriter.Write();
        EXPECT_EQ(lOutage, TraceLines().size());
        std::filesystem::create_directory("directory");
        lWriter.Write();
        EXPECT_EQ(lMetrics.Text(), ReadFile("directory/file"));
        EXPECT_EQ(2u, std::filesystem::remove_all("directory"));  // nothing else was left in it
    }
}

}  // namespace
