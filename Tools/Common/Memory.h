// Memory.h - the end of a tool that gets no memory.
#pragma once

namespace Tools {

/// From now on a request of `new` that cannot be met ends the process: `message`, which must live
/// as long, goes to the standard error. An exception would not do, because neither the platform's
/// run loop nor the destructors of the JSON library let one through.
void EndWithoutMemory(const char* message, int exitCode);

} // namespace Tools
