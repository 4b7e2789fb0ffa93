#pragma once

// The user's or the system's wish that the program come to its end (SIGINT, SIGTERM, SIGHUP), for one that has
// something to finish first.
namespace platform {

// From now on the first of each of these signals does not end the process but is remembered.  Waits of this library go
// on.  A second one ends the process as ever.
void CatchInterrupts();

// Whether one has come.  Any thread.
bool Interrupted();

// From now on a reader of the output that went away shows as an error of the write, not as a signal.
void IgnoreBrokenPipes();

}  // namespace platform
