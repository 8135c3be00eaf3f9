// Streams.h - the standard streams, which the caller of a tool may have closed.
#pragma once

namespace Tools {

/// Opens /dev/null in place of each standard stream that is closed. The first file that is opened
/// would take its place otherwise, and get what is meant for the stream. To be called before
/// anything is opened. Returns false if the standard output was closed, after telling so in the
/// name of `tool`.
bool OpenMissingStreams(const char* tool);

} // namespace Tools
