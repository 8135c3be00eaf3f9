// Writer.h - writes a recording: one JSON object a line.
//
//     Writer writer("session.jsonl", {});
//     writer.Write(1, event);
//     if (!writer.GetFailure().empty()) { ... }
#pragma once

#include "Tools/Recording/Event.h"

#include <cstdio>
#include <memory>
#include <string>

namespace Recording {

/// What the first line of a recording says of its origin.
struct Title
{
    std::string bundle{};   ///< the plug-in, or "" if a monitor has made the recording
    std::string check{};    ///< or "" if it was no check
    std::string finding{};  ///< what the check has found, or ""
    UInt32 firstNumber = 1; ///< of the first event; more than 1 if older ones were left out
};

class Writer
{
public:
    /// Makes the file, or empties it, and writes the title.
    Writer(const std::string& file, const Title& title);

    /// Writes one event. The line is in the file when this returns.
    void Write(UInt64 number, const Event& event);

    /// What went wrong first, or "".
    const std::string& GetFailure() const { return mFailure; }

private:
    struct Closer
    {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    void WriteLine(std::string line);

    std::unique_ptr<std::FILE, Closer> mFile;
    std::string mFailure;
};

/// Writes a whole recording; the first event has the title's number. Returns what went wrong, or
/// "".
std::string WriteRecording(const std::string& file, const Title& title, const Events& events);

} // namespace Recording
