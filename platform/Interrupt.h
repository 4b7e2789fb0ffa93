#pragma once

// The user's or the system's wish that the program come to its end (SIGINT, SIGTERM), for one that has something to
// finish first.
namespace platform {

// From now on such a signal does not end the process but is remembered.  Waits of this library go on.
void CatchInterrupts();

// Whether one has come.  Any thread.
bool Interrupted();

}  // namespace platform
