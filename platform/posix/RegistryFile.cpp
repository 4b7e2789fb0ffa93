#include <cstdlib>

#include "platform/Settings.h"
#include "platform/TextLines.h"

namespace platform {

namespace {

// Reads "dword:" and one to eight hexadecimal digits, which a comment may follow.
std::optional<uint32_t> ParseDword(const std::string& aValue) {
    const std::string lPrefix = "dword:";
    const std::string lText = LowerCase(Trimmed(aValue.substr(0, aValue.find(';'))));
    if (!lText.starts_with(lPrefix))
        return std::nullopt;
    const std::string lDigits = lText.substr(lPrefix.size());
    if (lDigits.empty() || lDigits.size() > 8 || lDigits.find_first_not_of("0123456789abcdef") != std::string::npos)
        return std::nullopt;
    return static_cast<uint32_t>(std::strtoul(lDigits.c_str(), nullptr, 16));
}

}  // namespace

std::optional<uint32_t> ReadRegistryNumber(const char* aKey, const char* aValueName) {
    const char* const lPath = std::getenv("VESTRAL_REGISTRY");
    const std::string lKey = LowerCase(std::string("HKEY_LOCAL_MACHINE\\") + aKey);
    const std::string lName = LowerCase(std::string("\"") + aValueName + "\"");
    TextLines lLines(lPath != nullptr ? lPath : "/etc/vestral/registry.reg");
    TextLine lLine;
    bool lInKey = false;
    std::optional<uint32_t> lNumber;
    while (lLines.Next(&lLine))
        if (lLine.mIsSection)
            lInKey = lLine.mName == lKey;
        else if (lInKey && lLine.mName == lName)
            lNumber = ParseDword(lLine.mValue);  // the last line counts, as it does when the file is imported
    return lNumber;
}

}  // namespace platform
