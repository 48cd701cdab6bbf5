// Where the tool's words leave the process.
#ifndef VORN_ONU_OUTPUT_H
#define VORN_ONU_OUTPUT_H

#include <cstdio>
#include <string>

namespace vorn_onu {

// Writes text for people, made printable(), and flushes. What cannot be written is remembered for lostOutput().
void print(std::FILE* stream, const std::string& text);
// The same to standard output.
void print(const std::string& text);
// What is wrong: one line on standard error, behind the tool's name.
void complain(const std::string& text);
// One line on standard error that is no complaint.
void remark(const std::string& text);

// A line at the bottom of a terminal that is replaced by the next one; "" takes it away. Nothing where standard error
// is no terminal.
void progress(const std::string& line);

// Why output of print() has been lost, such as "No space left on device"; "" when all of it was written, or as much as
// its reader wanted.
std::string lostOutput();

}  // namespace vorn_onu

#endif
