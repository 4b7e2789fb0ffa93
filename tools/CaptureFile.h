#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "tools/CaptureDecoder.h"

struct pcap;  // libpcap's reader

// The frames of a capture (pcap or pcapng), read one by one through libpcap.  One thread.
class CaptureFile {
public:
    CaptureFile() = default;
    CaptureFile(const CaptureFile&) = delete;
    CaptureFile& operator=(const CaptureFile&) = delete;
    ~CaptureFile();

    // aName may be "-" for standard input.  With aTwice Rewind may follow: what cannot be read again, such as a pipe,
    // is kept in a temporary file while it is read.  False with a reason of one line in *apError.
    bool Open(const std::string& aName, bool aTwice, std::string* apError);

    // False at the end.  The frame's bytes are valid until the next call.
    bool Read(CaptureFrame* apFrame);

    // Why what follows in the capture could not be read, once Read was false; empty at a proper end.
    const std::string& GetDamage() const { return cDamage; }

    // Back to the first frame, after Read was false.  False with a reason of one line in *apError.
    bool Rewind(std::string* apError);

    LinkType GetLinkType() const { return cLinkType; }

    // How far the reading has come, in bytes; 0 where that is not known.
    uint64_t GetPosition() const;

private:
    struct Closer {
        void operator()(pcap* apReader) const;
        void operator()(std::FILE* apFile) const { std::fclose(apFile); }
    };

    bool Adopt(pcap* apReader, const char* apSystemError, std::string* apError);
    bool Keep(std::string* apError);

    std::string cName;
    std::string cDamage;
    LinkType cLinkType = LinkType::ETHERNET;
    uint64_t cNumber = 0;
    std::unique_ptr<pcap, Closer> cReader;
    std::unique_ptr<std::FILE, Closer> cKept;
};
