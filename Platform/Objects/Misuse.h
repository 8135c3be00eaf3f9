// Misuse.h - ends a program that breaks the rules of a call.
#pragma once

namespace Standin {

/// Writes "Platform: <call>: <what>" to standard error and aborts.
///
/// Threads: any; takes no lock and no memory.
[[noreturn]] void Misuse(const char* call, const char* what, const char* detail = "");

} // namespace Standin
