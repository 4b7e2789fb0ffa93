#include "tools/CaptureSource.h"

#include "platform/Interrupt.h"
#include "tools/CaptureStreams.h"
#include "tools/CommandLine.h"
#include "tools/Text.h"

int CaptureSource::Open(const std::string& aAddress, std::string* apError) {
    CaptureAddress lAddress;
    if (!lAddress.Parse(aAddress, apError))
        return STATUS_USAGE;
    if (!cFile.Open(lAddress.mFile, !lAddress.mFilter.mPort, apError))
        return STATUS_FAILED;
    if (!lAddress.mFilter.mPort) {
        if (const int lStatus = ChooseStream(&lAddress, apError); lStatus != STATUS_DONE)
            return lStatus;
    }
    cDecoder.emplace(cFile.GetLinkType(), lAddress.mFilter);
    return STATUS_DONE;
}

bool CaptureSource::Read(CaptureDatagram* apDatagram) {
    CaptureFrame lFrame;
    while (!cAtEnd)
        if (!cFile.Read(&lFrame))
            cAtEnd = true;
        else if (cDecoder->Take(lFrame, apDatagram))
            return true;
    return false;
}

int CaptureSource::ChooseStream(CaptureAddress* apAddress, std::string* apError) {
    CaptureDecoder lDecoder(cFile.GetLinkType(), apAddress->mFilter);
    CaptureStreams lStreams;
    CaptureFrame lFrame;
    CaptureDatagram lDatagram;
    while (!platform::Interrupted() && cFile.Read(&lFrame))
        if (lDecoder.Take(lFrame, &lDatagram))
            lStreams.Add(lDatagram);
    if (lStreams.Get().empty()) {
        *apError = apAddress->mFile + " holds no DCP: " + CountsText(lDecoder.GetCounts());
        *apError += cFile.GetDamage().empty() ? "" : "; it cannot be read " + cFile.GetDamage();
        return STATUS_FAILED;
    }
    if (lStreams.Get().size() > 1) {
        *apError = apAddress->mFile +
                   " holds several DCP streams, of which ?port=N or &host=ADDRESS chooses one:" + lStreams.GetText();
        return STATUS_USAGE;
    }
    apAddress->mFilter.mHost = lStreams.Get()[0].mAddress;
    apAddress->mFilter.mPort = lStreams.Get()[0].mPort;
    return cFile.Rewind(apError) ? STATUS_DONE : STATUS_FAILED;
}

std::string CountsText(const CaptureCounts& aCounts) {
    const struct {
        uint64_t mCount;
        const char* mText;
    } PARTS[] = {
        {aCounts.mOtherDestinations, "to other destinations"},
        {aCounts.mCut, "cut by the snapshot length"},
        {aCounts.mDamaged, "damaged"},
        {aCounts.mIPv6, "of IPv6"},
        {aCounts.mOtherProtocols, "of other protocols"},
        {aCounts.mUnfinished, "fragmented and never whole"},
    };
    std::string lText = Count(aCounts.mFrames, "frame") + ", " + Count(aCounts.mDatagrams, "datagram");
    for (const auto& lPart : PARTS)
        lText += lPart.mCount > 0 ? ", " + std::to_string(lPart.mCount) + " " + lPart.mText : "";
    return lText;
}
