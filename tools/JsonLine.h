#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

// A JSON value in one line of ASCII, whatever bytes its texts hold.
std::string JsonLine(const nlohmann::ordered_json& aValue);

// Bytes as they may come from a network, as a JSON text that tells each of them: as the character of that code.
std::string JsonText(std::string_view aBytes);

// A number of so many digits behind the point, as Decimal writes it.
double JsonDecimal(double aValue, int aDigits);

// null stands for a value that is not there.
template <typename Value>
nlohmann::ordered_json JsonOptional(const std::optional<Value>& aValue) {
    return aValue ? nlohmann::ordered_json(*aValue) : nlohmann::ordered_json();
}
