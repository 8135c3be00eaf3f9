// Terminal.h - a program on a terminal of 80 columns and 24 rows, by tmux.
//
//     Terminal terminal(std::string(kMonitorProgram) + " --live");
//     terminal.Await("q quit");           // waits until the screen has the text
//     terminal.Type("q");
#pragma once

#include <string>
#include <vector>

namespace ToolsTests {

class Terminal
{
public:
    /// Runs a shell's command line in a terminal of its own.
    explicit Terminal(const std::string& command);
    /// Ends the terminal, and the program with it.
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// The lines of the screen, without blanks at their ends.
    std::vector<std::string> Capture() const;
    /// The screen as one text, with the codes of colours and other attributes.
    std::string CaptureCodes() const;

    /// Waits until the screen contains the text, for a minute at most; each line ends with "\n".
    /// Returns the screen.
    std::vector<std::string> Await(const std::string& text) const;

    /// Types the keys as tmux names them: characters, Enter, Escape, Down.
    void Type(const std::string& key) const;
    void Resize(int columns, int rows) const;

private:
    std::string Run(std::vector<std::string> words) const;

    const std::string mSocket;
};

} // namespace ToolsTests
