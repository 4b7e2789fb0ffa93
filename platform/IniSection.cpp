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
    while (lLines.Next(&lLine))
        if (lLine.mIsSection && lLine.mName == lSection)
            break;
    while (lLines.Next(&lLine) && !lLine.mIsSection)
        if (Find(lLine.mName) == nullptr)
            cEntries.push_back({lLine.mWritten, lLine.mName, Unquoted(lLine.mValue)});
}

const IniSection::Entry* IniSection::Find(const std::string& aKey) const {
    const std::string lName = LowerCase(aKey);
    const auto lFound =
        std::find_if(cEntries.begin(), cEntries.end(), [&lName](const Entry& aEntry) { return aEntry.mName == lName; });
    return lFound == cEntries.end() ? nullptr : &*lFound;
}

std::string IniSection::GetText(const char* aKey, const char* aDefault) const {
    const Entry* const lpEntry = Find(aKey);
    return lpEntry == nullptr ? aDefault : lpEntry->mValue;
}

int IniSection::GetNumber(const char* aKey, int aDefault) const {
    const std::string lText = GetText(aKey, "");
    if (lText.empty())
        return aDefault;
    // strtol stops at the limits of long, which may be wider than int.
    return static_cast<int>(std::clamp<long>(std::strtol(lText.c_str(), nullptr, 10), INT_MIN, INT_MAX));
}

std::vector<std::string> IniSection::GetKeysBeside(const std::vector<std::string>& aKnown) const {
    std::vector<std::string> lKeys;
    for (const Entry& lEntry : cEntries) {
        const auto lIsKnown = [&lEntry](const std::string& aKey) { return LowerCase(aKey) == lEntry.mName; };
        if (std::none_of(aKnown.begin(), aKnown.end(), lIsKnown))
            lKeys.push_back(lEntry.mWritten);
    }
    return lKeys;
}

}  // namespace platform
