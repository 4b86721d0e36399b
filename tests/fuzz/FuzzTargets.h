#pragma once

#include <string>

/// What the fuzzers drive: any bytes must end in a result or in messages, never in a crash, a hang
/// or an exception that nobody is to see.
namespace kestrane::fuzz {

/// Reads the text as words, numbers, quoted texts and whole lines; its first byte chooses the
/// order.
void feed_reader(const std::string& bytes);
/// Reads the text as a table with columns of every type, copies, merges and prints it.
void feed_table(const std::string& bytes);
/// Runs the text as a script, with the report in memory.
void feed_script(const std::string& bytes);

}  // namespace kestrane::fuzz
