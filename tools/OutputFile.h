#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>

// A file that a program makes: it is complete, or everything is as it was before.  It is written under another name
// beside its own and renamed when it is complete.  A device or pipe is written to directly, and never removed.
class OutputFile {
public:
    explicit OutputFile(const std::filesystem::path& aPath) : cTarget(aPath) {}
    ~OutputFile();  // removes what was not finished
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // To be called in this order.  True for success; after a false, GetError is the system's error number (errno).
    bool Open();
    bool Write(const unsigned char* apBytes, size_t aSize);
    bool Finish();  // the bytes are on the disk then

    int GetError() const { return cError; }

private:
    bool Check(bool aSuccess);

    std::filesystem::path cTarget;     // never a link to a regular file, once Open has followed it
    std::filesystem::path cTemporary;  // empty when the target is written to directly
    std::FILE* cFile = nullptr;
    int cError = 0;
};
