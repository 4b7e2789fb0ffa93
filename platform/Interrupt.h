#pragma once

// For programs that have something to finish when the user or the system asks them to end (SIGINT, SIGTERM, SIGHUP).
namespace platform {

// From now on the first of these signals does not end the process but is remembered; waits of this library go on.  More
// of them within the next 2 seconds are ignored, because `timeout` and service managers send a signal to the process
// and to its group.  A later one ends the process, so that a program that hangs can still be stopped.
void CatchInterrupts();

// Whether a signal was remembered.  Any thread.
bool Interrupted();

// From now on a write to a pipe whose reader went away fails with EPIPE; without this call it ends the process.
void IgnoreBrokenPipes();

}  // namespace platform
