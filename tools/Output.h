#pragma once

#include <string>

// What a tool does before anything else: standard output is for its data alone, and the wish to end (Interrupt.h)
// is remembered.
void PrepareTool();

// Writes a line to standard output, through to the reader.
void PrintLine(const std::string& aLine);

// The system's error number (errno) of the first line that could not be written; 0 when there is none.  EPIPE: the
// reader went away.
int OutputError();
