#include "Networking/DCPAddress.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <sstream>
#include <vector>

#include "Networking/StatusCodes.h"

namespace {

constexpr size_t MAX_SCHEME = 67;
constexpr size_t MAX_LOCATION = 499;
constexpr size_t MAX_OPTIONS = 51;
constexpr size_t MAX_NAME = 103;

void ReplaceFirst(std::string& aText, char aSeparator) {
    if (const size_t lPlace = aText.find(aSeparator); lPlace != std::string::npos)
        aText[lPlace] = ' ';
}

// Returns the first aMostWords words, or all of them when there are fewer.
std::vector<std::string> SplitWords(const std::string& aText, size_t aMostWords) {
    std::vector<std::string> lWords;
    std::istringstream lStream(aText);
    for (std::string lWord; lWords.size() < aMostWords && lStream >> lWord;)
        lWords.push_back(lWord);
    return lWords;
}

bool ParseNumber(const std::string& aWord, uint32_t* apNumber) {
    const char* const lpEnd = aWord.data() + aWord.size();
    const auto lResult = std::from_chars(aWord.data(), lpEnd, *apNumber);
    return lResult.ec == std::errc() && lResult.ptr == lpEnd;
}

}  // namespace

uint32_t DCPAddress::Parse(const char* apText) {
    std::string lText(apText);
    ReplaceFirst(lText, ':');
    ReplaceFirst(lText, '?');
    const auto lParts = SplitWords(lText, 3);
    const bool lValid = lParts.size() >= 2 && (lParts.size() == 2 || ParseOptions(lParts[2])) &&
                        ParseScheme(lParts[0]) && ParseLocation(lParts[1]);
    return lValid ? 0u : DCP_INVALID_ADDRESS;
}

bool DCPAddress::ParseOptions(const std::string& aOptions) {
    if (aOptions.size() > MAX_OPTIONS)
        return false;
    mFEC = aOptions.starts_with("fec=") && std::strtol(aOptions.c_str() + 4, nullptr, 10) != 0;
    mCRC = aOptions.find("crc=0") == std::string::npos;
    mLive = aOptions.find("live=1") != std::string::npos;
    return true;
}

bool DCPAddress::ParseScheme(std::string aScheme) {
    if (aScheme.size() > MAX_SCHEME)
        return false;
    std::replace(aScheme.begin(), aScheme.end(), '.', ' ');
    const auto lWords = SplitWords(aScheme, 3);
    if (lWords.size() < 2 || lWords[0] != "dcp" || (lWords.size() == 3 && lWords[2] != "pft"))
        return false;
    static const char* const TRANSPORT_WORDS[] = {"udp", "file", "tcp", "ser"};  // in the order of DCPTransport
    const auto lWord = std::find(std::begin(TRANSPORT_WORDS), std::end(TRANSPORT_WORDS), lWords[1]);
    mTransport = static_cast<uint32_t>(lWord - std::begin(TRANSPORT_WORDS));
    mPFT = lWords.size() == 3;
    return lWord != std::end(TRANSPORT_WORDS);
}

bool DCPAddress::ParseLocation(std::string aLocation) {
    if (aLocation.size() > MAX_LOCATION)
        return false;
    if (mTransport == TRANSPORT_UDP) {
        if (!aLocation.starts_with("//"))
            return false;
        aLocation.erase(0, 2);
    } else if (mTransport != TRANSPORT_FILE) {
        return true;
    }
    std::replace(aLocation.begin(), aLocation.end(), ':', ' ');
    const size_t lWordCount = mTransport == TRANSPORT_UDP ? 2 : 3;
    const auto lWords = SplitWords(aLocation, lWordCount);
    uint32_t lUnused = 0;  // the second number of a file address
    if (lWords.size() != lWordCount || lWords[0].size() > MAX_NAME || !ParseNumber(lWords[1], &mNumber) ||
        (mTransport == TRANSPORT_FILE && !ParseNumber(lWords[2], &lUnused)))
        return false;
    mName = lWords[0];
    return true;
}
