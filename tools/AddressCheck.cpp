#include "tools/AddressCheck.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "tools/Text.h"

namespace {

struct AddressOption {
    std::string mName;
    std::string mValues;
    bool mFirst;  // counts as the first option only
};

const AddressOption OPTIONS[] = {{"fec=", "0|1", true}, {"crc=", "0|1", false}, {"live=", "0|1", false}};

bool Takes(const AddressOption& aOption, const std::string& aWord) {
    const std::vector<std::string> lValues = Parts(aOption.mValues, '|');
    return std::any_of(lValues.begin(), lValues.end(),
                       [&](const std::string& aValue) { return aWord == aOption.mName + aValue; });
}

std::string AllOptions() {
    std::string lText;
    for (const AddressOption& lOption : OPTIONS)
        lText += (lText.empty() ? "" : ", ") + lOption.mName + lOption.mValues;
    return lText;
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
        const auto lOption = std::find_if(std::begin(OPTIONS), std::end(OPTIONS),
                                          [&lWord](const AddressOption& aOption) { return Takes(aOption, lWord); });
        if (lOption == std::end(OPTIONS))
            return "'" + lWord + "' is no option; options are " + AllOptions();
        if (lOption->mFirst && lIndex > 0)
            return "'" + lWord + "' counts as the first option only";
    }
    return aParts.mFEC && !aParts.mPFT ? "'" + lWords[0] + "' protects fragments, and without .pft there are none" : "";
}
