#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/CaptureAddress.h"
#include "tools/CaptureDecoder.h"
#include "tools/CaptureFile.h"

// The UDP datagrams of a capture that its address asks for.  One thread.
class CaptureSource {
public:
    // Opens an address of the form that CaptureAddress tells.  Without a port the capture is read through first, and
    // the only DCP stream in it is chosen; standard input and pipes are kept in a temporary file meanwhile, so with a
    // capture that is still being made the port should be given.
    // STATUS_DONE, or the exit status of the tool with a reason in *apError: of one line, or for several streams with a
    // line for each behind it.
    int Open(const std::string& aAddress, std::string* apError);

    // The next datagram; its data is valid until the next call.  False at the end, and ever after.
    bool Read(CaptureDatagram* apDatagram);

    // Why what follows in the capture could not be read, once Read was false; empty at a proper end.
    const std::string& GetDamage() const { return cFile.GetDamage(); }

    CaptureCounts GetCounts() const { return cDecoder->GetCounts(); }
    uint64_t GetPosition() const { return cFile.GetPosition(); }  // bytes; 0 where that is not known

private:
    int ChooseStream(CaptureAddress* apAddress, std::string* apError);

    CaptureFile cFile;
    std::optional<CaptureDecoder> cDecoder;  // once open
    bool cAtEnd = false;
};

// "120 frames, 3 cut by the snapshot length, 5 of IPv6": what came to nothing is named when there was any.
std::string CountsText(const CaptureCounts& aCounts);
