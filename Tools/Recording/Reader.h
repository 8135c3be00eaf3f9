// Reader.h - reads a recording, and says in which line it is damaged.
//
//     Events events;
//     const std::string failure = Reader("session.jsonl").Read(events);
//     // "session.jsonl:7: there is no \"device\"", or ""
#pragma once

#include "Tools/Recording/Event.h"

#include <functional>
#include <optional>

namespace Recording {

class Reader
{
public:
    /// Will read a file, or the standard input for "-".
    explicit Reader(std::string name);

    /// Will read a text that has been read from that file.
    Reader(std::string name, std::string text);

    /// Reads the recording and hands over each event as soon as its line has been read. Returns
    /// what is wrong, with the file and the line, or "".
    std::string Read(const std::function<void(const Event& event)>& take) const;
    std::string Read(Events& events) const;

    const std::string& GetName() const { return mName; }

private:
    const std::string mName;
    const std::optional<std::string> mText;
};

} // namespace Recording
