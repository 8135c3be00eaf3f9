// Recorder.h - writes what arrives to a recording.
#pragma once

#include "Tools/Recording/Writer.h"

#include <optional>

namespace Monitor {

/// Records nothing until it has a file.
class Recorder
{
public:
    /// Makes the file; what it held before is lost.
    void Open(const std::string& file);

    /// Writes one message; `sender` is its process.
    void Take(SInt32 id, const UInt8* data, std::size_t size, SInt32 sender);

    /// Tells whether the file could not be written.
    bool HasFailed() const { return mWriter && !mWriter->GetFailure().empty(); }

    /// Says why. Returns the exit code.
    int ShowFailure() const;

private:
    std::string mFile;
    std::optional<Recording::Writer> mWriter;
    UInt64 mNumber = 0;
};

} // namespace Monitor
