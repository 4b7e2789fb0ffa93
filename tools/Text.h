#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

// A whole decimal number of 32 bits and nothing else.
bool ReadNumber(std::string_view aText, uint32_t* apNumber);

// The parts of aText between aSeparators; one more than there are of these.
std::vector<std::string> Parts(const std::string& aText, char aSeparator);

// Bytes as they may come from a network, as text for people: what is no printable ASCII character as \xHH.
std::string Printable(std::string_view aBytes);

// One line of text for a terminal: control characters as \xHH.
std::string WithoutControls(std::string_view aText);

// As a JSON string with its quotes, in ASCII: every other byte as the character of that code.
std::string JsonText(std::string_view aBytes);

// Two digits a byte.
std::string Hex(std::string_view aBytes);

// aValue with so many digits behind the point.
std::string Decimal(double aValue, int aDigits);

// "1 unit", "2 units".
std::string Count(uint64_t aCount, const std::string& aWord);

// A JSON object (RFC 8259), put together member by member.
class JsonObject {
public:
    // aValue is JSON already.
    JsonObject& PutJson(const char* aName, const std::string& aValue);
    JsonObject& Put(const char* aName, std::string_view aText) { return PutJson(aName, JsonText(aText)); }
    template <typename Number>
    requires std::is_arithmetic_v<Number> JsonObject& Put(const char* aName, Number aNumber) {
        if constexpr (std::is_same_v<Number, bool>) {
            return PutJson(aName, aNumber ? "true" : "false");
        } else {
            return PutJson(aName, std::to_string(aNumber));
        }
    }

    template <typename Number>
    JsonObject& Put(const char* aName, const std::optional<Number>& aNumber) {
        return aNumber ? Put(aName, *aNumber) : PutJson(aName, "null");
    }

    std::string GetText() const { return "{" + cMembers + "}"; }

private:
    std::string cMembers;
};

// A JSON array of what aToJson makes of each element.
template <typename Range, typename ToJson>
std::string JsonArray(const Range& aRange, ToJson aToJson) {
    std::string lArray;
    for (const auto& lElement : aRange) {
        lArray += (lArray.empty() ? "" : ",") + aToJson(lElement);
    }
    return "[" + lArray + "]";
}
