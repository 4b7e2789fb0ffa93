#include "tools/CaptureFile.h"

#include <pcap/pcap.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <system_error>

namespace {

constexpr int64_t MICROSECONDS = 1'000'000;        // a second
constexpr int64_t LAST_SECOND = int64_t{1} << 33;  // that a stamp can tell, in the year 2242

std::optional<LinkType> LinkTypeOf(pcap* apReader) {
    switch (pcap_datalink(apReader)) {
        case DLT_EN10MB:
            return LinkType::ETHERNET;
        case DLT_LINUX_SLL:
            return LinkType::LINUX_COOKED;
        case DLT_LINUX_SLL2:
            return LinkType::LINUX_COOKED_2;
        case DLT_RAW:
        case DLT_IPV4:
        case DLT_IPV6:
            return LinkType::RAW_IP;
        case DLT_NULL:
        case DLT_LOOP:
            return LinkType::BSD_LOOPBACK;
        default:
            return std::nullopt;
    }
}

// A damaged capture may hold any numbers.
uint64_t TimeOf(const timeval& aStamp) {
    const int64_t lSeconds = std::clamp<int64_t>(aStamp.tv_sec, 0, LAST_SECOND);
    const int64_t lMicroseconds = std::clamp<int64_t>(aStamp.tv_usec, 0, MICROSECONDS - 1);
    return static_cast<uint64_t>(lSeconds * MICROSECONDS + lMicroseconds);
}

// libpcap reads the frames of pcapng as one kind, which is that of the first interface.
std::string WithAdvice(const std::string& aText) {
    const bool lInterfaces = aText.find("different from the") != std::string::npos;
    return aText + (lInterfaces ? "; a capture of one interface, or of all by -i any, can be read" : "");
}

}  // namespace

CaptureFile::~CaptureFile() = default;

void CaptureFile::Closer::operator()(pcap* apReader) const {
    pcap_close(apReader);
}

bool CaptureFile::Open(const std::string& aName, bool aTwice, std::string* apError) {
    cName = aName;
    std::error_code lIgnored;
    char lError[PCAP_ERRBUF_SIZE] = "";
    pcap* const lpReader = pcap_open_offline(aName.c_str(), lError);
    if (!Adopt(lpReader, lError, apError))
        return false;
    const bool lKeep = aTwice && (aName == "-" || !std::filesystem::is_regular_file(aName, lIgnored));
    return !lKeep || Keep(apError);
}

bool CaptureFile::Read(CaptureFrame* apFrame) {
    pcap_pkthdr* lpHeader = nullptr;
    const unsigned char* lpBytes = nullptr;
    const int lResult = pcap_next_ex(cReader.get(), &lpHeader, &lpBytes);
    if (lResult == 1) {
        if (cKept)
            pcap_dump(reinterpret_cast<unsigned char*>(cKept.get()), lpHeader, lpBytes);
        *apFrame = {{lpBytes, lpHeader->caplen}, lpHeader->len, TimeOf(lpHeader->ts), ++cNumber};
        return true;
    }
    if (lResult == PCAP_ERROR && cDamage.empty())
        cDamage = "behind frame " + std::to_string(cNumber) + ": " + WithAdvice(pcap_geterr(cReader.get()));
    return false;
}

bool CaptureFile::Rewind(std::string* apError) {
    cNumber = 0;
    if (!cKept) {
        cDamage.clear();
        return Open(cName, false, apError);
    }
    if (std::fflush(cKept.get()) != 0 || std::ferror(cKept.get()) != 0) {
        *apError = "what was read could not be kept for a second time: " + std::string(std::strerror(errno));
        return false;
    }
    std::rewind(cKept.get());
    char lError[PCAP_ERRBUF_SIZE] = "";
    pcap* const lpReader = pcap_fopen_offline(cKept.get(), lError);
    if (lpReader != nullptr)
        (void)cKept.release();  // the reader closes it
    return Adopt(lpReader, lError, apError);
}

uint64_t CaptureFile::GetPosition() const {
    const long lPosition = std::ftell(pcap_file(cReader.get()));
    return lPosition > 0 ? static_cast<uint64_t>(lPosition) : 0;
}

bool CaptureFile::Adopt(pcap* apReader, const char* apSystemError, std::string* apError) {
    cReader.reset(apReader);
    std::string lWhyNot = apSystemError;
    if (cReader) {
        const auto lLinkType = LinkTypeOf(apReader);
        if (lLinkType) {
            cLinkType = *lLinkType;
            return true;
        }
        lWhyNot = "its frames are of the kind '" +
                  std::string(pcap_datalink_val_to_description_or_dlt(pcap_datalink(apReader))) +
                  "'; Ethernet, Linux cooked, raw IP and BSD loopback can be read";
        cReader.reset();
    } else if (lWhyNot.rfind(cName + ": ", 0) == 0) {
        lWhyNot.erase(0, cName.size() + 2);
    }
    *apError = (cName == "-" ? "standard input" : cName) + " cannot be read as a capture: " + lWhyNot;
    return false;
}

// A dump of libpcap is the file that it writes.
bool CaptureFile::Keep(std::string* apError) {
    cKept.reset(std::tmpfile());
    if (cKept && pcap_dump_fopen(cReader.get(), cKept.get()) != nullptr)
        return true;
    *apError = "no temporary file to keep the capture in: " + std::string(std::strerror(errno));
    return false;
}
