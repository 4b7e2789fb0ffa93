// dcp-relay: takes units from one DCP address and sends them to another.

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include "Networking/MDIUnit.h"
#include "platform/Interrupt.h"
#include "tools/CaptureAddress.h"
#include "tools/CommandLine.h"
#include "tools/DlfcWatch.h"
#include "tools/FramePacer.h"
#include "tools/Output.h"
#include "tools/Progress.h"
#include "tools/RelayStatistics.h"
#include "tools/StatusText.h"
#include "tools/Text.h"
#include "tools/UnitSink.h"
#include "tools/UnitSource.h"

namespace {

struct Options {
    Protocol mProtocol = Protocol::MDI;
    uint32_t mUnits = UINT32_MAX;
    uint32_t mLoop = 1;   // passes over a recording; 0: without end
    uint32_t mStart = 0;  // the unit of a recording that each pass begins at or behind; 0: the recording's beginning
    bool mRenumber = false;
    bool mFast = false;
    uint32_t mStatistics = 0;  // seconds; 0: at the end only
    bool mJson = false;
    bool mStrict = false;
    ReceivingOptions mReceiving;
    SendingOptions mSending;
    std::string mFrom;
    std::string mTo;
};

constexpr char PURPOSE[] =
    "Sends the units that FROM delivers to TO: records a network in a file, plays a\n"
    "file, forwards between networks.  Statistics go to standard output, at the end\n"
    "or more often.";

void AddOptions(CommandLine* apLine, Options* apOptions) {
    apLine->AddOperand("FROM", &apOptions->mFrom,
                       "dcp.file.pft:FILE:0:0, dcp.udp.pft://HOST:PORT,\nwhere HOST may be any or a multicast group, "
                       "or\n\"pcap:FILE?port=N&host=ADDRESS\"");
    apLine->AddOperand("TO", &apOptions->mTo,
                       "dcp.udp.pft://HOST:PORT or dcp.file.pft:FILE:LIMIT:0\n"
                       "for a recording of at most LIMIT units; without .pft\n"
                       "AF packets go out whole; fragments go out with\n"
                       "parity to \"dcp.udp.pft://HOST:PORT?fec=1\"");
    apLine->AddChoice("-p,--protocol", {"mdi", "mci", "sdi"}, "of the units (mdi)",
                      [apOptions](size_t aWord) { apOptions->mProtocol = static_cast<Protocol>(aWord); });
    apLine->AddNumber("-n,--units", &apOptions->mUnits, 1, UINT32_MAX, "end after so many units");
    apLine->AddNumber("--start", &apOptions->mStart, 1, UINT32_MAX,
                      "begin a file at this unit, counted from 1, or at the\nnext one that begins a super frame");
    apLine->AddNumber("--loop", &apOptions->mLoop, 0, UINT32_MAX, "play a file so many times (1); 0: without end");
    apLine->AddFlag("-r,--renumber", &apOptions->mRenumber, "number the units anew (dlfc), from 0 on; mdi only");
    apLine->AddFlag("-f,--fast", &apOptions->mFast, "units of a file as fast as TO takes them, not one\nper 400 ms");
    apLine->AddNumber("-s,--stats", &apOptions->mStatistics, 1, 86400, "statistics every so many seconds");
    apLine->AddFlag("-j,--json", &apOptions->mJson, "statistics as one JSON object a line");
    apLine->AddFlag("--strict", &apOptions->mStrict, "exit with 1 when units were lost on the way");
    AddReceivingOptions(apLine, &apOptions->mReceiving);
    AddSendingOptions(apLine, &apOptions->mSending);
}

DCPAddress Parsed(const std::string& aAddress) {
    DCPAddress lParts;
    lParts.Parse(aAddress.c_str());
    return lParts;
}

bool AreOneFile(const std::string& aFrom, const std::string& aTo) {
    const DCPAddress lFrom = Parsed(aFrom);
    const DCPAddress lTo = Parsed(aTo);
    std::error_code lIgnored;
    return lFrom.mTransport == TRANSPORT_FILE && lTo.mTransport == TRANSPORT_FILE &&
           std::filesystem::equivalent(lFrom.mName, lTo.mName, lIgnored);
}

// An address that cannot be opened counts as a recording, so that its own error is told.
bool IsRecording(const std::string& aFrom) {
    DCPAddress lParts;
    return !CaptureAddress::Is(aFrom) && (lParts.Parse(aFrom.c_str()) != 0 || lParts.mTransport == TRANSPORT_FILE);
}

// The milliseconds from one line of statistics to the next; without --stats they never pass.
uint64_t PeriodOf(const Options& aOptions) {
    return aOptions.mStatistics > 0 ? uint64_t{1000} * aOptions.mStatistics : UINT64_MAX;
}

class Relay {
public:
    Relay(const CommandLine& aLine, const Options& aOptions)
        : cLine(aLine), cOptions(aOptions), cToName(Parsed(aOptions.mTo).mName) {}

    int Open();
    int Run();

private:
    enum class Pass { GO_ON, END, FAILED };

    bool SkipToStart(std::string* apError);
    bool LostOnTheWay() const;
    Pass Take();
    Pass NextPass();
    Pass Forward(MDIUnit& aUnit);
    void Number(MDIUnit& aUnit);
    void NoteDelivery(bool aDelivered);
    void NoteSize();
    std::string SystemReason() const;
    void Report();
    double Share() const;
    void Say(const std::string& aText);

    const CommandLine& cLine;
    const Options cOptions;
    const std::string cToName;  // host or file
    UnitSource cSource;
    UnitSink cSink;
    DlfcWatch cCounters;
    FramePacer cPacer;
    RelayStatistics cStatistics;
    Progress cProgress;
    FaultCounts cFaults;
    uint32_t cNumber = 0;       // dlfc of the next unit, with --renumber
    uint64_t cRefused = 0;      // units that TO did not take
    uint64_t cUndelivered = 0;  // the part of cRefused since TO last took a unit
    bool cLongRecording = false;
    uint64_t cPasses = 0;                     // that are over
    uint64_t cReceivedInPasses = 0;           // units, in these
    uint64_t cNextLine = PeriodOf(cOptions);  // when statistics are due, in milliseconds from the start
};

int Relay::Open() {
    if (cOptions.mRenumber && cOptions.mProtocol != Protocol::MDI)
        return cLine.Fail(STATUS_USAGE, "--renumber is for mdi only");
    if (AreOneFile(cOptions.mFrom, cOptions.mTo))
        return cLine.Fail(STATUS_USAGE, "FROM and TO are the same file");
    if ((cOptions.mStart > 0 || cOptions.mLoop != 1) && !IsRecording(cOptions.mFrom))
        return cLine.Fail(STATUS_USAGE, "--start and --loop are for files that hold recordings");
    std::string lError;
    int lStatus = cSource.Open(cOptions.mFrom, cOptions.mProtocol, cOptions.mReceiving, &lError);
    if (lStatus == STATUS_DONE && !SkipToStart(&lError))
        lStatus = STATUS_USAGE;
    if (lStatus == STATUS_DONE)
        lStatus = cSink.Open(cOptions.mTo, cOptions.mProtocol, cOptions.mSending, &lError);
    return lStatus == STATUS_DONE ? lStatus : cLine.Fail(lStatus, lError);
}

bool Relay::SkipToStart(std::string* apError) {
    if (cOptions.mStart == 0 || cSource.Skip(cOptions.mStart) || platform::Interrupted())
        return true;
    *apError = "--start " + std::to_string(cOptions.mStart) +
               " is beyond the beginning of the last super frame of FROM, which has " +
               Count(cSource.GetUnits(), "unit");
    return false;
}

int Relay::Run() {
    cSource.Start();
    Pass lPass = Pass::GO_ON;
    while (lPass == Pass::GO_ON && cStatistics.GetReceived() < cOptions.mUnits) {
        lPass = Take();
        Report();
    }
    cProgress.Clear();
    PrintLine(cStatistics.Line(cOptions.mJson, true, cSource.GetReception()));
    if (cFaults.HasLoss())
        Say("FROM is damaged; mdi-dump tells where");
    if (OutputError() != 0 && OutputError() != EPIPE)
        return cLine.Fail(STATUS_FAILED, "standard output cannot be written: " + SystemText(OutputError()));
    if (!cSource.GetCaptureCounts().empty())
        Say(cSource.GetCaptureCounts());
    if (!cSource.GetCaptureDamage().empty())
        return cLine.Fail(STATUS_FAILED, "FROM cannot be read " + cSource.GetCaptureDamage());
    if (cSource.AtEnd() && cStatistics.GetReceived() == 0)
        return cLine.Fail(STATUS_FAILED, "there is no unit of this protocol in FROM");
    if (lPass != Pass::FAILED && cStatistics.GetReceived() > 0 && cStatistics.GetSent() == 0)
        return cLine.Fail(STATUS_FAILED, "no unit went out");
    if (cOptions.mStrict && LostOnTheWay())
        return STATUS_FAILED;
    return lPass == Pass::FAILED || (cRefused > 0 && cSink.IsFile()) ? STATUS_FAILED : STATUS_DONE;
}

bool Relay::LostOnTheWay() const {
    const ReceptionStatistics* const lpReception = cSource.GetReception();
    return cStatistics.GetLost() > 0 || cFaults.HasLoss() ||
           (lpReception != nullptr &&
            lpReception->Get(StackEvent::PACKETS_LOST) + lpReception->Get(StackEvent::UNIT_OVERFLOWED) > 0);
}

Relay::Pass Relay::Take() {
    MDIUnit lUnit(0, 0, 0);  // serves MCI and SDI as well, whose bytes it only views
    const UnitSource::Result lResult = cSource.Receive(&lUnit);
    Findings lFindings = cSource.GetFindings();
    const bool lOtherProtocol = std::erase_if(lFindings, [](const Finding& aFinding) {
                                    return aFinding.mFault == FAULT_PROTOCOL;  // is left out on purpose
                                }) > 0;
    cFaults.Add(lFindings);
    if (lResult == UnitSource::Result::LOST && !lOtherProtocol && cOptions.mProtocol != Protocol::MDI)
        cStatistics.Lost(1);  // losses of MDI show in its frame counters
    if (lResult != UnitSource::Result::UNIT)
        return lResult == UnitSource::Result::END ? NextPass() : Pass::GO_ON;
    cStatistics.Received();
    if (cOptions.mProtocol == Protocol::MDI)
        Number(lUnit);
    if (cSource.IsRead() && !cOptions.mFast)
        cPacer.Wait();
    return Forward(lUnit);
}

// A pass without a unit is the last one, because nothing would hold up those after it.
Relay::Pass Relay::NextPass() {
    ++cPasses;
    const bool lEmpty = cStatistics.GetReceived() == std::exchange(cReceivedInPasses, cStatistics.GetReceived());
    if (!cSource.AtEnd() || cPasses == cOptions.mLoop || cStatistics.GetReceived() == 0)
        return Pass::END;
    cCounters = DlfcWatch();  // the way back to the first counter is no loss
    std::string lError = "FROM has no unit any more";
    if (!lEmpty && cSource.OpenAgain(&lError) == STATUS_DONE && SkipToStart(&lError))
        return Pass::GO_ON;
    Say(lError);
    return Pass::FAILED;
}

// Counts the units that are missing before this one, and renumbers it.  A unit without a counter stays as it is.
void Relay::Number(MDIUnit& aUnit) {
    aUnit.Parse();
    uint32_t lDlfc = 0;
    if (aUnit.GetDlfc(&lDlfc) != 1)
        return;
    const uint64_t lLostBefore = cCounters.GetLost();
    cCounters.Follow(lDlfc);
    cStatistics.Lost(cCounters.GetLost() - lLostBefore);
    if (cOptions.mRenumber)
        aUnit.SetDlfc(cNumber++, true);
}

Relay::Pass Relay::Forward(MDIUnit& aUnit) {
    switch (cSink.Send(&aUnit)) {
        case UnitSink::Result::SENT:
            cStatistics.Sent(aUnit.GetSize());
            NoteDelivery(true);
            NoteSize();
            if (!cSink.IsFull())
                return Pass::GO_ON;
            break;
        case UnitSink::Result::LOST:
            cStatistics.Lost(1);
            ++cRefused;
            NoteDelivery(false);
            return Pass::GO_ON;
        case UnitSink::Result::FAILED:
            cStatistics.Lost(1);
            Say(cToName + " cannot be written" + SystemReason());
            return Pass::FAILED;
        case UnitSink::Result::FULL:
            break;
    }
    Say("the recording has reached its limit");
    return Pass::END;
}

// Says once that TO refuses units, and once that TO takes them again.
void Relay::NoteDelivery(bool aDelivered) {
    if (!aDelivered && cUndelivered++ == 0) {
        Say("units are lost: " + StatusText(cSink.GetCode()) + SystemReason());
    } else if (aDelivered && cUndelivered > 0) {
        Say("units go out again; " + Count(cUndelivered, "unit") + " lost");
        cUndelivered = 0;
    }
}

// What to add to a message about the last unit that TO refused: the system's reason, if it has one.
std::string Relay::SystemReason() const {
    if (cSink.GetSystemError() != 0)
        return ": " + SystemText(cSink.GetSystemError());
    return cSink.GetCode() == UDP_SEND_FAILED ? ": " + cToName + " does not answer the probe" : "";
}

void Relay::NoteSize() {
    if (!cLongRecording && cSink.GetRecordedBytes() > FILE_MAX_SIZE) {
        cLongRecording = true;
        Say("the recording is " + LongerThanDefault());
    }
}

void Relay::Report() {
    if (cStatistics.Elapsed() >= cNextLine) {
        cNextLine = cStatistics.Elapsed() + PeriodOf(cOptions);
        cProgress.Clear();
        PrintLine(cStatistics.Line(cOptions.mJson, false, cSource.GetReception()));
    }
    if (cProgress.IsDue())
        cProgress.Show(cStatistics.Short(), Share());
}

double Relay::Share() const {
    const double lPasses = static_cast<double>(cPasses) + cSource.GetShare();
    return std::max(cOptions.mLoop > 0 ? lPasses / cOptions.mLoop : 0,
                    ShareOf(cStatistics.GetReceived(), cOptions.mUnits));
}

void Relay::Say(const std::string& aText) {
    cProgress.Clear();
    cLine.Say(aText);
}

}  // namespace

int main(int argc, char** argv) {
    PrepareTool();
    Options lOptions;
    CommandLine lLine("dcp-relay", PURPOSE);
    AddOptions(&lLine, &lOptions);
    if (const auto lStatus = lLine.Read(argc, argv))
        return *lStatus;
    Relay lRelay(lLine, lOptions);
    const int lStatus = lRelay.Open();
    return lStatus == STATUS_DONE ? lRelay.Run() : lStatus;
}
