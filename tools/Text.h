#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// A whole decimal number of 32 bits and nothing else.
bool ReadNumber(std::string_view aText, uint32_t* apNumber);

// The parts of aText between aSeparators; one more than there are of these.
std::vector<std::string> Parts(const std::string& aText, char aSeparator);

// Bytes as they may come from a network, as text for people: what is no printable ASCII character as \xHH.
std::string Printable(std::string_view aBytes);

// One line of text for a terminal: control characters as \xHH.
std::string WithoutControls(std::string_view aText);

// Two digits a byte.
std::string Hex(std::string_view aBytes);

// aValue with so many digits behind the point.
std::string Decimal(double aValue, int aDigits);

// "1 unit", "2 units".
std::string Count(uint64_t aCount, const std::string& aWord);
