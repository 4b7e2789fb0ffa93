#pragma once

#include <cstdio>

// The console: printf-style output that is written through at once, and single keys without echo.
//
// Keys come from the terminal when standard input is one: it is switched to unbuffered input without echo at the first
// question for a key, and put back as it was at every exit: the normal one, SIGINT, SIGTERM, SIGHUP, SIGQUIT and the
// stop from the keyboard.  While the process is in the terminal's background no key comes and the terminal is left
// alone.  Otherwise the bytes of the pipe or file are the keys.
namespace platform {

// Puts the null device in the place of standard handles that the process was started without.  To be called before
// anything else is opened: it would get their numbers, and the console's text with them.
void SecureStandardHandles();

// Formats and writes to standard output.  When it returns every character has been handed to the operating system;
// one call's text is never mixed with another's.  Failures are ignored, a reader that went away included.  Any thread.
[[gnu::format(printf, 1, 2)]] void Print(const char* aFormat, ...);

// The same to the error stream, and never mixed with Print's text where both are one terminal.
[[gnu::format(printf, 1, 2)]] void PrintError(const char* aFormat, ...);

// As Print, for text that shows a course and that nobody misses: a quiet console leaves it out.
[[gnu::format(printf, 1, 2)]] void PrintProgress(const char* aFormat, ...);

// From now on the console is quiet, for a program that nobody watches: PrintProgress prints nothing, Print and
// PrintError print a text only when it is not the last one of the same format, and what cannot be written at once is
// dropped, so that no reader that stalls holds up a thread.  To be called before other threads print.
void QuietConsole();

// From now on Print and PrintError drop their text: for a program whose standard output is data and that has its own
// words for what goes wrong.
void SilencePrint();

// Whether a standard stream is a terminal.
bool IsTerminal(std::FILE* aStream);

// Whether ReadKey would return a key at once.  False for ever once the input has ended.  One thread only, with ReadKey.
bool KeyWaiting();

// Waits for one key and returns it, 0 to 255; -1 at once when the input has ended, so that no key can come.
int ReadKey();

}  // namespace platform
