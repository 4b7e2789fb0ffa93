#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "tools/ReceptionStatistics.h"

// A JSON value in one line of ASCII, whatever bytes its texts hold.
std::string JsonLine(const nlohmann::ordered_json& aValue);

// Bytes from a network as a text for JSON.  Each byte becomes the character of the same code (ISO 8859-1), so that all
// of them can be told.
std::string JsonText(std::string_view aBytes);

// The number that Decimal writes.
double JsonDecimal(double aValue, int aDigits);

// An object of all counts.
nlohmann::ordered_json JsonOf(const ReceptionStatistics& aReception);

// The value, or null when there is none.
template <typename Value>
nlohmann::ordered_json JsonOptional(const std::optional<Value>& aValue) {
    return aValue ? nlohmann::ordered_json(*aValue) : nlohmann::ordered_json();
}
