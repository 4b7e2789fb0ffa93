#include "tools/JsonLine.h"

#include <cstdlib>

#include "tools/Text.h"

std::string JsonLine(const nlohmann::ordered_json& aValue) {
    return aValue.dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace);
}

std::string JsonText(std::string_view aBytes) {
    std::string lText;  // in UTF-8
    for (const char lByte : aBytes) {
        const auto lCode = static_cast<unsigned char>(lByte);
        if (lCode < 0x80) {
            lText += lByte;
        } else {
            lText += static_cast<char>(0xC0 | lCode >> 6);
            lText += static_cast<char>(0x80 | (lCode & 0x3F));
        }
    }
    return lText;
}

double JsonDecimal(double aValue, int aDigits) {
    return std::strtod(Decimal(aValue, aDigits).c_str(), nullptr);
}

nlohmann::ordered_json JsonOf(const ReceptionStatistics& aReception) {
    nlohmann::ordered_json lObject = nlohmann::ordered_json::object();
    for (const auto& [lName, lCount] : aReception.GetCounts())
        lObject[lName] = lCount;
    return lObject;
}
