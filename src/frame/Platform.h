#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace kestrane {

/// What the program asks of its operating system besides the standard library.

/// True if the stream is connected to a terminal.
bool is_terminal(std::FILE* stream);

/// True if `path` names a regular file that standard output or standard error is redirected to:
/// what is read from there would be what is being written.
bool receives_output(const std::string& path);

/// Milliseconds of a clock that never goes back; wraps after 49.7 days.
std::uint32_t clock_ticks();

/// Line buffering with a buffer of 4096 bytes. For standard output and standard error only.
void line_buffered(std::FILE* stream);

/// Makes the process ready for its first file. A reader of our output who goes away must not end
/// the run with a signal: the failed stream is noticed instead. A standard stream that the caller
/// closed is occupied, or the first file opened would take its number and receive its text; what
/// occupies it fails on writing and is empty on reading.
void prepare_process();

}  // namespace kestrane
