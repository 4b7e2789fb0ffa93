#include <algorithm>
#include <climits>
#include <cstdlib>

#include "platform/Settings.h"
#include "platform/TextLines.h"

namespace platform {

namespace {

std::string Unquoted(const std::string& aText) {
    const bool lQuoted =
        aText.size() >= 2 && aText.front() == aText.back() && (aText.front() == '"' || aText.front() == '\'');
    return lQuoted ? aText.substr(1, aText.size() - 2) : aText;
}

}  // namespace

IniSection::IniSection(const std::string& aPath, const char* aSection) {
    const std::string lSection = LowerCase(aSection);
    TextLines lLines(aPath);
    TextLine lLine;
    while (lLines.Next(&lLine)) {
        if (lLine.mIsSection && lLine.mName == lSection)
            break;
    }
    while (lLines.Next(&lLine) && !lLine.mIsSection)
        cValues.emplace(lLine.mName, Unquoted(lLine.mValue));  // keeps the first of a name
}

std::string IniSection::GetText(const char* aKey, const char* aDefault) const {
    const auto lFound = cValues.find(LowerCase(aKey));
    return lFound == cValues.end() ? aDefault : lFound->second;
}

int IniSection::GetNumber(const char* aKey, int aDefault) const {
    const std::string lText = GetText(aKey, "");
    if (lText.empty())
        return aDefault;
    // strtol holds at the limits of long, which may be wider than int.
    return static_cast<int>(std::clamp<long>(std::strtol(lText.c_str(), nullptr, 10), INT_MIN, INT_MAX));
}

}  // namespace platform
