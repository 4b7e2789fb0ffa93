// mdi-dump: shows the MDI units that an address delivers, and checks recordings.

#include <cerrno>
#include <string>

#include "tools/CommandLine.h"
#include "tools/DumpReport.h"
#include "tools/Output.h"
#include "tools/StatusText.h"
#include "tools/UnitSource.h"

namespace {

struct Options {
    DumpReport::Form mForm;
    ReceivingOptions mReceiving;
    std::string mAddress;
};

constexpr char PURPOSE[] =
    "Shows each MDI unit that ADDRESS delivers, what is wrong with it, and a summary\n"
    "at the end.  A recording is read once, and the exit status says whether it is\n"
    "sound: 0, or 1 when something in it is damaged or missing, or when the player\n"
    "would leave it out.";

void AddOptions(CommandLine* apLine, Options* apOptions) {
    apLine->AddOperand("ADDRESS", &apOptions->mAddress,
                       "dcp.file.pft:FILE:0:0, dcp.udp.pft://HOST:PORT,\nwhere HOST may be any or a multicast group, "
                       "or\n\"pcap:FILE?port=N&host=ADDRESS\"");
    apLine->AddFlag("-v,--verbose", &apOptions->mForm.mVerbose, "all TAG items of each unit: name, bits, first bytes");
    apLine->AddFlag("-j,--json", &apOptions->mForm.mJson, "one JSON object a line, the last one the summary");
    apLine->AddFlag("-q,--quiet", &apOptions->mForm.mQuiet, "only the units with something wrong or to remark");
    apLine->AddNumber("-n,--units", &apOptions->mForm.mUnits, 1, UINT32_MAX, "end after so many units");
    AddReceivingOptions(apLine, &apOptions->mReceiving);
}

void Dump(UnitSource& aSource, uint32_t aUnits, UnitCheck* apCheck, DumpReport* apReport) {
    while (apReport->GetUnits() < aUnits && OutputError() == 0) {
        MDIUnit lUnit(0, 0, 0);
        const UnitSource::Result lResult = aSource.Receive(&lUnit);
        apReport->Other(aSource.GetFindings());
        if (lResult == UnitSource::Result::END)
            return;
        if (lResult == UnitSource::Result::UNIT)
            apReport->Unit(apCheck->Check(lUnit));
    }
}

}  // namespace

int main(int argc, char** argv) {
    PrepareTool();
    Options lOptions;
    CommandLine lLine("mdi-dump", PURPOSE);
    AddOptions(&lLine, &lOptions);
    if (const auto lStatus = lLine.Read(argc, argv))
        return *lStatus;
    UnitSource lSource;
    std::string lError;
    if (const int lStatus = lSource.Open(lOptions.mAddress, Protocol::MDI, lOptions.mReceiving, &lError);
        lStatus != STATUS_DONE)
        return lLine.Fail(lStatus, lError);
    lOptions.mForm.mTimes = !lSource.IsFile() && !CaptureAddress::Is(lOptions.mAddress);
    DumpReport lReport(lOptions.mForm, lSource);
    UnitCheck lCheck(lSource.IsFile());
    if (lSource.IsFile())
        BufferOutput();
    lSource.Start();
    Dump(lSource, lOptions.mForm.mUnits, &lCheck, &lReport);
    lReport.Summary(lCheck);
    FlushOutput();
    if (OutputError() == EPIPE)
        return STATUS_FAILED;  // without a message, as other tools whose reader ends before them
    if (OutputError() != 0)
        return lLine.Fail(STATUS_FAILED, "standard output cannot be written: " + SystemText(OutputError()));
    if (!lSource.GetCaptureCounts().empty())
        lLine.Say(lSource.GetCaptureCounts());
    if (!lSource.GetCaptureDamage().empty())
        return lLine.Fail(STATUS_FAILED, "the capture cannot be read " + lSource.GetCaptureDamage());
    return lSource.IsFile() && !lReport.IsSound() ? STATUS_FAILED : STATUS_DONE;
}
