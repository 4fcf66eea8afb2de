#pragma once

#include <optional>

namespace CommandLine {

/// Answers "--help" and "--version" on standard output before any window system is touched, so both work
/// without a display. Returns the exit code when one of them was given, nothing otherwise (the arguments
/// then go to Qt as they are).
std::optional<int> answerOnTerminal(int argc, const char* const* argv);

} // namespace CommandLine
