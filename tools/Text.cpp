#include "tools/Text.h"

#include <charconv>
#include <cstdio>

namespace {

bool IsPrintable(char aCharacter) {
    return aCharacter >= ' ' && aCharacter <= '~';
}

std::string Formatted(const char* aFormat, char aByte) {
    char lText[8];
    std::snprintf(lText, sizeof lText, aFormat, static_cast<unsigned char>(aByte));
    return lText;
}

}  // namespace

bool ReadNumber(std::string_view aText, uint32_t* apNumber) {
    const char* const lpEnd = aText.data() + aText.size();
    const auto [lpStop, lResult] = std::from_chars(aText.data(), lpEnd, *apNumber);
    return lResult == std::errc() && lpStop == lpEnd;
}

std::vector<std::string> Parts(const std::string& aText, char aSeparator) {
    std::vector<std::string> lParts(1);
    for (const char lCharacter : aText)
        if (lCharacter == aSeparator)
            lParts.emplace_back();
        else
            lParts.back() += lCharacter;
    return lParts;
}

std::string Printable(std::string_view aBytes) {
    std::string lText;
    for (const char lByte : aBytes)
        lText += IsPrintable(lByte) ? std::string(1, lByte) : Formatted("\\x%02X", lByte);
    return lText;
}

std::string WithoutControls(std::string_view aText) {
    std::string lText;
    for (const char lByte : aText) {
        const bool lControl = (lByte >= 0 && lByte < ' ') || lByte == 0x7F;
        lText += lControl ? Formatted("\\x%02X", lByte) : std::string(1, lByte);
    }
    return lText;
}

std::string Hex(std::string_view aBytes) {
    std::string lText;
    for (const char lByte : aBytes)
        lText += Formatted("%02x", lByte);
    return lText;
}

std::string Decimal(double aValue, int aDigits) {
    char lText[64];
    std::snprintf(lText, sizeof lText, "%.*f", aDigits, aValue);
    return lText;
}

std::string Count(uint64_t aCount, const std::string& aWord) {
    return std::to_string(aCount) + " " + aWord + (aCount == 1 ? "" : "s");
}
