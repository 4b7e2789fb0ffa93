#pragma once

// The trace file "ERR_SYS.tra" in the current directory has one time-stamped line for each broken invariant or
// transport failure.  The file is opened, appended to and closed for every line, so it may be read or deleted at any
// time.  Any thread may write; lines are never mixed.  A line that cannot be written is lost silently.

// Writes "(at dd/mm/yyyy, hh:mm:ss) " in local time, the message, cut to 272 characters, and a line end.
void WriteTrace(const char* apMessage);

// Traces that a condition failed, with its text, its source file and line, and returns.
void AssertFailed(const char* apCondition, const char* apFile, int aLine);

// Traces a broken invariant and goes on, so the caller must still handle the case.  The second form takes the text that
// the trace shows; the first shows the condition itself.
#define CHECK_INVARIANT_AS(aCondition, aText) \
    ((aCondition) ? static_cast<void>(0) : AssertFailed(aText, __FILE__, __LINE__))
#define CHECK_INVARIANT(aCondition) CHECK_INVARIANT_AS(aCondition, #aCondition)
