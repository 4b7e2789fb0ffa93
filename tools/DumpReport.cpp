#include "tools/DumpReport.h"

#include <algorithm>
#include <cstdio>
#include <optional>

#include "platform/Clock.h"
#include "platform/Console.h"
#include "tools/JsonLine.h"
#include "tools/Output.h"
#include "tools/StatusText.h"
#include "tools/Text.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr size_t ITEM_START = 16;  // bytes of an item that are shown

std::string JoinedFindings(const Findings& aFindings) {
    std::string lText;
    for (const Finding& lFinding : aFindings)
        lText += (lText.empty() ? "" : "; ") + FindingText(lFinding);
    return lText;
}

Json JsonFindings(const Findings& aFindings) {
    Json lTexts = Json::array();
    for (const Finding& lFinding : aFindings)
        lTexts.push_back(FindingText(lFinding));
    return lTexts;
}

Json JsonItems(const std::vector<ItemView>& aItems) {
    Json lItems = Json::array();
    for (const ItemView& lItem : aItems) {
        lItems.push_back({{"name", JsonText(lItem.mName)},
                          {"bits", lItem.mBits},
                          {"start", Hex(lItem.mValue.substr(0, ITEM_START))}});
    }
    return lItems;
}

std::vector<size_t> StreamSizes(const std::vector<ItemView>& aItems) {
    std::vector<size_t> lSizes;
    for (const ItemView& lItem : aItems)
        if (lItem.mName.starts_with("str") && lItem.mName[3] >= '0' && lItem.mName[3] < '0' + int{MDI_STREAMS})
            lSizes.push_back(lItem.mValue.size());
    return lSizes;
}

// The place of the unit's frame in its super frame, counted from 1.
std::optional<int> Position(const UnitFacts& aFacts) {
    return aFacts.mIdentity ? std::optional(*aFacts.mIdentity % SUPER_FRAME_FRAMES + 1) : std::nullopt;
}

std::string ClockText(const platform::CalendarTime& aTime) {
    const platform::LocalTime lLocal = platform::ToLocalTime(aTime.mSeconds);
    char lText[48];
    std::snprintf(lText, sizeof lText, "%02d:%02d:%02d.%03u", lLocal.mHour, lLocal.mMinute, lLocal.mSecond,
                  static_cast<unsigned>(aTime.mMilliseconds));
    return lText;
}

}  // namespace

struct DumpReport::Arrival {
    platform::CalendarTime mTime;
    std::optional<uint32_t> mInterval;  // milliseconds since the unit before
};

DumpReport::DumpReport(const Form& aForm, const UnitSource& aSource)
    : cForm(aForm), cSource(aSource), cOnTerminal(platform::IsTerminal(stdout)) {}

DumpReport::Arrival DumpReport::NoteArrival() {
    const uint32_t lNow = platform::TickCount();
    Arrival lArrival = {platform::CalendarNow(), std::nullopt};
    if (cUnits > 0) {
        lArrival.mInterval = lNow - cLastTick;
        cIntervals.Add(*lArrival.mInterval);
    }
    cLastTick = lNow;
    return lArrival;
}

void DumpReport::Unit(const UnitFacts& aFacts) {
    const Arrival lArrival = cForm.mTimes ? NoteArrival() : Arrival();
    ++cUnits;
    cBytes += aFacts.mBytes;
    cFaults.Add(aFacts.mFindings);
    if (!cForm.mQuiet || !aFacts.mFindings.empty()) {
        MakeRoom();
        cForm.mJson ? PrintJson(aFacts, lArrival) : PrintText(aFacts, lArrival);
    }
    ShowProgress();
}

void DumpReport::Other(const Findings& aFindings) {
    if (aFindings.empty())
        return;
    cFaults.Add(aFindings);
    MakeRoom();
    PrintLine(cForm.mJson ? JsonLine({{"type", "fault"}, {"faults", JsonFindings(aFindings)}})
                          : "  ! " + JoinedFindings(aFindings));
}

// When standard output is a terminal too, the lines of all units show the progress.
void DumpReport::ShowProgress() {
    if (cProgress.IsDue() && (cForm.mQuiet || !cOnTerminal))
        cProgress.Show(Count(cUnits, "unit") + (IsSound() ? "" : ", with faults"),
                       std::max(cSource.GetShare(), ShareOf(cUnits, cForm.mUnits)));
}

// Clears the progress before a line that goes to the same terminal.
void DumpReport::MakeRoom() {
    if (cOnTerminal)
        cProgress.Clear();
}

void DumpReport::PrintText(const UnitFacts& aFacts, const Arrival& aArrival) const {
    std::string lLine;
    if (cForm.mTimes) {
        char lInterval[32];
        std::snprintf(lInterval, sizeof lInterval, "%+5d ms  ", static_cast<int>(aArrival.mInterval.value_or(0)));
        lLine = ClockText(aArrival.mTime) + lInterval;
    }
    lLine += "dlfc " + (aFacts.mDlfc ? std::to_string(*aFacts.mDlfc) : "-") + "  frame ";
    lLine += aFacts.mIdentity ? std::to_string(*Position(aFacts)) + "/3" : "-";
    if (aFacts.mIdentity && !cForm.mTimes)  // without it the lines of a network, which people watch, fit 80 columns
        lLine += " (identity " + std::to_string(*aFacts.mIdentity) + ")";
    lLine += "  " + Count(aFacts.mBytes, "byte") + "  streams";
    for (const size_t lSize : StreamSizes(aFacts.mItems))
        lLine += " " + std::to_string(lSize);
    PrintLine(aFacts.mFindings.empty() ? lLine : lLine + "  ! " + JoinedFindings(aFacts.mFindings));
    if (!cForm.mVerbose)
        return;
    for (const ItemView& lItem : aFacts.mItems) {
        PrintLine("    " + Printable(lItem.mName) + "  " + Count(lItem.mBits, "bit") + "  " +
                  Hex(lItem.mValue.substr(0, ITEM_START)) + (lItem.mValue.size() > ITEM_START ? "..." : ""));
    }
}

void DumpReport::PrintJson(const UnitFacts& aFacts, const Arrival& aArrival) const {
    Json lLine = {{"type", "unit"}, {"unit", cUnits}};
    if (cForm.mTimes) {
        const int64_t lMilliseconds = aArrival.mTime.mSeconds * 1000 + aArrival.mTime.mMilliseconds;
        lLine["time"] = static_cast<double>(lMilliseconds) / 1000;
        lLine["interval_ms"] = JsonOptional(aArrival.mInterval);
    }
    lLine["dlfc"] = JsonOptional(aFacts.mDlfc);
    lLine["identity"] = JsonOptional(aFacts.mIdentity);
    lLine["position"] = JsonOptional(Position(aFacts));
    lLine["bytes"] = aFacts.mBytes;
    lLine["streams"] = StreamSizes(aFacts.mItems);
    lLine["faults"] = JsonFindings(aFacts.mFindings);
    if (cForm.mVerbose)
        lLine["items"] = JsonItems(aFacts.mItems);
    PrintLine(JsonLine(lLine));
}

void DumpReport::Summary(const UnitCheck& aCheck) {
    cProgress.Clear();
    if (HasVerdict() && cUnits == 0)
        Other({{FAULT_NO_UNIT, ""}});
    else if (HasVerdict() && !aCheck.AtBoundary())
        Other({{FAULT_PARTIAL_END, "the player leaves out units when it begins anew"}});
    cForm.mJson ? PrintJsonSummary(aCheck) : PrintTextSummary(aCheck);
}

void DumpReport::PrintTextSummary(const UnitCheck& aCheck) const {
    const ReceptionStatistics* const lpReception = cSource.GetReception();
    const DlfcWatch& lCounters = aCheck.GetCounters();
    PrintLine("\n" + Count(cUnits, "unit") + ", " + std::to_string(lCounters.GetLost()) + " lost, " +
              std::to_string(lCounters.GetBack()) + " out of order, " + Count(cBytes, "byte"));
    if (cForm.mTimes && cIntervals.GetTotal() > 0) {
        PrintLine("intervals: median " + std::to_string(cIntervals.Percentile(50)) + " ms, 99 % within " +
                  std::to_string(cIntervals.Percentile(99)) + " ms, longest " +
                  std::to_string(cIntervals.GetMaximum()) + " ms");
    }
    if (lpReception != nullptr && !lpReception->GetText().empty())
        PrintLine("reception: " + lpReception->GetText());
    if (!aCheck.GetMode().empty())
        PrintLine("DRM mode: " + aCheck.GetMode());
    for (const Fault lFault : cFaults.GetFound()) {
        PrintLine((IsLoss(lFault) ? "fault: " : "remark: ") + std::to_string(cFaults.Get(lFault)) + " x " +
                  FaultName(lFault));
    }
    if (HasVerdict())
        PrintLine(IsSound() ? "The recording is sound." : "The recording is NOT sound.");
    if (HasVerdict() && cSource.IsLongerThanDefault())
        PrintLine("It is " + LongerThanDefault() + ".");
}

void DumpReport::PrintJsonSummary(const UnitCheck& aCheck) const {
    const ReceptionStatistics* const lpReception = cSource.GetReception();
    const DlfcWatch& lCounters = aCheck.GetCounters();
    Json lSummary = {{"type", "summary"},
                     {"units", cUnits},
                     {"lost", lCounters.GetLost()},
                     {"out_of_order", lCounters.GetBack()},
                     {"bytes", cBytes}};
    if (cForm.mTimes) {
        lSummary["interval_ms"] = {
            {"p50", cIntervals.Percentile(50)}, {"p99", cIntervals.Percentile(99)}, {"max", cIntervals.GetMaximum()}};
    }
    if (lpReception != nullptr)
        lSummary["reception"] = JsonOf(*lpReception);
    lSummary["drm_mode"] = aCheck.GetMode();
    Json& lFaults = lSummary["faults"] = Json::object();
    for (const Fault lFault : cFaults.GetFound())
        lFaults[FaultName(lFault)] = cFaults.Get(lFault);
    if (HasVerdict()) {
        lSummary["longer_than_default_limit"] = cSource.IsLongerThanDefault();
        lSummary["sound"] = IsSound();
    }
    PrintLine(JsonLine(lSummary));
}
