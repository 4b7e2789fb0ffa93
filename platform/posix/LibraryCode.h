#pragma once

// The code of the shared libraries that the program uses, the C and C++ libraries above all.  A thread that is stopped
// in there may hold a lock that every other thread needs sooner or later, such as the allocator's.
namespace platform::posix {

// Looks up where the libraries that are loaded by now have their code.  To be called before the first question.
void FindLibraryCode();

// Whether the instruction that a signal interrupted belongs to one of them.  aContext is the third argument of the
// signal's handler.  Async-signal-safe.  Always false on a processor whose contexts this library does not know.
bool IsInLibraryCode(const void* aContext);

}  // namespace platform::posix
