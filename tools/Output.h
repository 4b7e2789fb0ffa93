#pragma once

#include <string>

// What a tool does before anything else: standard output is for its data alone, and the wish to end (Interrupt.h)
// is remembered.
void PrepareTool();

// Writes a line to standard output, through to the reader.
void PrintLine(const std::string& aLine);

// Whether all of it could be written.
bool OutputIsComplete();
