#pragma once

#include <fstream>
#include <string>

// The line format that INI files and registry exports share.  Internal to platform/.
namespace platform {

inline std::string Trimmed(const std::string& aText) {
    const char* const lBlanks = " \t\r\v\f";
    const size_t lFirst = aText.find_first_not_of(lBlanks);
    return lFirst == std::string::npos ? "" : aText.substr(lFirst, aText.find_last_not_of(lBlanks) - lFirst + 1);
}

// Changes only A to Z, whatever the locale is.
inline std::string LowerCase(std::string aText) {
    for (char& lCharacter : aText)
        if (lCharacter >= 'A' && lCharacter <= 'Z')
            lCharacter = static_cast<char>(lCharacter - 'A' + 'a');
    return aText;
}

// "[name]" or "name = value".
struct TextLine {
    bool mIsSection;
    std::string mWritten;  // the name as the file has it, trimmed
    std::string mName;     // the same in lower case
    std::string mValue;    // trimmed; unchanged for a section
};

// The section and value lines of a file.  All other lines are skipped, and so are comments (";") and a byte-order mark.
// A file that cannot be read has no lines.
class TextLines {
public:
    explicit TextLines(const std::string& aPath) : cFile(aPath, std::ios::binary) {}

    // False at the end of the file.
    bool Next(TextLine* aLine) {
        std::string lText;
        while (std::getline(cFile, lText)) {
            if (cAtStart)
                SkipByteOrderMark(lText);
            cAtStart = false;
            if (cIsUTF16)
                std::erase(lText, '\0');
            if (Split(Trimmed(lText), aLine))
                return true;
        }
        return false;
    }

private:
    void SkipByteOrderMark(std::string& aText) {
        cIsUTF16 = aText.starts_with("\xFF\xFE");
        aText.erase(0, cIsUTF16 ? 2 : aText.starts_with("\xEF\xBB\xBF") ? 3 : 0);
    }

    static bool Split(const std::string& aText, TextLine* aLine) {
        const bool lBracket = aText.starts_with('[');
        const size_t lEnd = aText.find(lBracket ? ']' : '=');
        if (aText.starts_with(';') || lEnd == std::string::npos)
            return false;
        aLine->mIsSection = lBracket;
        aLine->mWritten = Trimmed(aText.substr(lBracket ? 1 : 0, lEnd - (lBracket ? 1 : 0)));
        aLine->mName = LowerCase(aLine->mWritten);
        if (!lBracket)
            aLine->mValue = Trimmed(aText.substr(lEnd + 1));
        return true;
    }

    std::ifstream cFile;
    bool cAtStart = true;
    bool cIsUTF16 = false;  // UTF-16, least significant byte first, as Windows' tools write it; only ASCII is read
};

}  // namespace platform
