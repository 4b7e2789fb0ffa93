#include "tools/AddressCheck.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "tools/Text.h"

namespace {

bool IsOption(const std::string& aWord) {
    static const char* const OPTIONS[] = {"fec=0", "fec=1", "crc=0", "crc=1", "live=0", "live=1"};
    return std::find(std::begin(OPTIONS), std::end(OPTIONS), aWord) != std::end(OPTIONS);
}

}  // namespace

bool HasMoreWords(const std::string& aAddress, const DCPAddress& aParts) {
    const std::string lText = aAddress.substr(0, aAddress.find('?'));
    const std::string lScheme = lText.substr(0, lText.find(':'));
    return aAddress.find_first_of(" \t\n\v\f\r") != std::string::npos ||
           std::count(lScheme.begin(), lScheme.end(), '.') > (aParts.mPFT ? 2 : 1) ||
           std::count(lText.begin(), lText.end(), ':') > (aParts.mTransport == TRANSPORT_FILE ? 3 : 2);
}

std::string WhyNoOptions(const std::string& aAddress, const DCPAddress& aParts) {
    const size_t lStart = aAddress.find('?');
    if (lStart == std::string::npos)
        return "";
    const std::vector<std::string> lWords = Parts(aAddress.substr(lStart + 1), '&');
    for (size_t lIndex = 0; lIndex < lWords.size(); ++lIndex) {
        const std::string& lWord = lWords[lIndex];
        if (!IsOption(lWord))
            return "'" + lWord + "' is no option; options are fec=0|1, crc=0|1, live=0|1";
        if (lWord.starts_with("fec=") && lIndex > 0)
            return "'" + lWord + "' counts as the first option only";
    }
    return aParts.mFEC && !aParts.mPFT ? "'" + lWords[0] + "' protects fragments, and without .pft there are none" : "";
}
