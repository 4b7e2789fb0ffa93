#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// A whole decimal number of 32 bits and nothing else.
bool ReadNumber(std::string_view aText, uint32_t* apNumber);

// Splits a text at each aSeparator.  There is always at least one part.
std::vector<std::string> Parts(const std::string& aText, char aSeparator);

// Bytes from a network as text that is safe to show: a byte that is no printable ASCII character becomes \xHH.
std::string Printable(std::string_view aBytes);

// A text that is safe to write to a terminal in one line: control characters become \xHH.
std::string WithoutControls(std::string_view aText);

// Bytes as hexadecimal digits, two for each byte.
std::string Hex(std::string_view aBytes);

// A number with aDigits digits behind the point.
std::string Decimal(double aValue, int aDigits);

// A number with its noun: "1 unit", "2 units".
std::string Count(uint64_t aCount, const std::string& aWord);
