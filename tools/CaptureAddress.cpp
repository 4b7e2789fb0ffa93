#include "tools/CaptureAddress.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <system_error>

#include "platform/Socket.h"

namespace {

constexpr std::string_view SCHEME = "pcap:";
constexpr size_t DOTTED_SIZE = 16;  // with the NUL

std::optional<uint16_t> ReadPort(std::string_view aText) {
    uint16_t lPort = 0;
    const char* const lpEnd = aText.data() + aText.size();
    const auto lResult = std::from_chars(aText.data(), lpEnd, lPort);
    return lResult.ec == std::errc() && lResult.ptr == lpEnd && lPort > 0 ? std::optional(lPort) : std::nullopt;
}

std::optional<uint32_t> ReadHost(const std::string& aText) {
    const uint32_t lHost = platform::ParseAddress(aText.c_str());
    return HostText(lHost) == aText ? std::optional(lHost) : std::nullopt;
}

}  // namespace

std::string HostText(uint32_t aAddress) {
    char lText[DOTTED_SIZE];
    platform::FormatAddress(aAddress, lText);
    return lText;
}

bool CaptureAddress::Is(std::string_view aText) {
    return aText.starts_with(SCHEME);
}

bool CaptureAddress::Parse(std::string_view aText, std::string* apError) {
    *this = {};
    const size_t lQuestion = std::min(aText.find('?'), aText.size());
    if (!Is(aText) || lQuestion == SCHEME.size()) {
        *apError = "'" + std::string(aText) + "' is not of the form pcap:FILE?port=N&host=ADDRESS";
        return false;
    }
    mFile = aText.substr(SCHEME.size(), lQuestion - SCHEME.size());
    for (size_t lStart = lQuestion + 1; lStart < aText.size();) {
        const size_t lEnd = std::min(aText.find('&', lStart), aText.size());
        const std::string lOption(aText.substr(lStart, lEnd - lStart));
        if (!ParseOption(lOption)) {
            *apError = "'" + lOption + "' is no option of a capture: port=N (1 to 65535) or host=ADDRESS, once each";
            return false;
        }
        lStart = lEnd + 1;
    }
    return true;
}

bool CaptureAddress::ParseOption(const std::string& aOption) {
    if (aOption.starts_with("port=") && !mFilter.mPort) {
        mFilter.mPort = ReadPort(std::string_view(aOption).substr(5));
        return mFilter.mPort.has_value();
    }
    if (aOption.starts_with("host=") && !mFilter.mHost) {
        mFilter.mHost = ReadHost(aOption.substr(5));
        return mFilter.mHost.has_value();
    }
    return false;
}
