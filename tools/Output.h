#pragma once

#include <string>

// Is called before anything else.  Standard output is for the tool's data alone from then on, signals that ask the
// program to end are remembered (Interrupt.h), and a reader that goes away shows as an error of a write.
void PrepareTool();

// Writes a line to standard output at once, without keeping it in a buffer.
void PrintLine(const std::string& aLine);

// From now on lines wait in a buffer until it is full, for many lines that come fast.  A terminal still shows each one
// at once.
void BufferOutput();

// Writes the lines that wait.
void FlushOutput();

// The system's error number (errno) of the first line that could not be written, or 0 when all could.  EPIPE says that
// the reader went away.
int OutputError();
