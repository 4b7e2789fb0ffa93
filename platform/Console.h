#pragma once

#include <cstdio>

// The console: printf-style output that is written through at once, and single keys without echo.
//
// If standard input is a terminal, the first question for a key switches it to unbuffered input without echo, and every
// way out of the process puts it back as it was: the normal exit, SIGINT, SIGTERM, SIGHUP, SIGQUIT and the stop from
// the keyboard.  While the process is in the terminal's background, no key comes and the terminal is left alone.  If
// standard input is a pipe or a file, its bytes are the keys.
namespace platform {

// Puts the null device in the place of standard handles that the process was started without.  To be called before
// anything else is opened: a file that got the number of a missing handle would get the console's text too.
void SecureStandardHandles();

// Formats text and writes it to standard output.  When Print returns, the operating system has every character.  The
// texts of two calls are never mixed.  Failures are ignored, also that of a reader that went away.  Any thread.
[[gnu::format(printf, 1, 2)]] void Print(const char* aFormat, ...);

// The same for the error stream.  Its text is not mixed with Print's either, where both streams go to one terminal.
[[gnu::format(printf, 1, 2)]] void PrintError(const char* aFormat, ...);

// As Print, for text that shows a course and that nobody misses: a quiet console leaves it out.
[[gnu::format(printf, 1, 2)]] void PrintProgress(const char* aFormat, ...);

// From now on the console is quiet, for a program that nobody watches: PrintProgress prints nothing, Print and
// PrintError print a text only when it is not the last one of the same format, and what cannot be written at once is
// dropped, so that no reader that stalls holds up a thread.  To be called before other threads print.
void QuietConsole();

// From now on Print and PrintError drop their text.  For a program whose standard output is data, and which reports
// failures in its own words.
void SilencePrint();

// Whether a standard stream is a terminal.
bool IsTerminal(std::FILE* aStream);

// Whether ReadKey would return a key at once.  False for ever once the input has ended.  Only one thread may call
// KeyWaiting and ReadKey.
bool KeyWaiting();

// Waits for one key and returns it, 0 to 255.  Returns -1 when the input has ended, since no key can come then, and
// when the program is asked to end (Interrupt.h).
int ReadKey();

}  // namespace platform
