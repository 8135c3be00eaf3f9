// Terminal.cpp - calls of tmux.

#include "Tests/Tools/EndToEnd/Terminal.h"

#include "Tests/Tools/EndToEnd/ChildProcess.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <stdexcept>

namespace ToolsTests {
namespace {

std::string MakeSocketName()
{
    static std::atomic<int> sCount{0};
    return std::string(std::getenv("XDG_RUNTIME_DIR")) + "/tmux-" + std::to_string(++sCount);
}

} // namespace

Terminal::Terminal(const std::string& command)
    : mSocket(MakeSocketName())
{
    Run({"-f", "/dev/null", "new-session", "-d", "-x", "80", "-y", "24", command});
}

Terminal::~Terminal()
{
    Run({"kill-server"});
}

std::string Terminal::Run(std::vector<std::string> words) const
{
    words.insert(words.begin(), {"-S", mSocket});
    ChildProcess tmux("tmux", words);
    std::string output;
    for (const std::string& line : tmux.ReadLines()) {
        output += line + "\n";
    }
    return output;
}

std::vector<std::string> Terminal::Capture() const
{
    const std::string screen = Run({"capture-pane", "-p"});
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < screen.size();) {
        const std::size_t end = screen.find('\n', begin);
        lines.push_back(screen.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

std::string Terminal::CaptureCodes() const
{
    return Run({"capture-pane", "-p", "-e"});
}

std::vector<std::string> Terminal::Await(const std::string& text) const
{
    const auto start = std::chrono::steady_clock::now();
    std::string screen;
    while (std::chrono::steady_clock::now() - start < std::chrono::minutes(1)) {
        screen.clear();
        std::vector<std::string> lines = Capture();
        for (const std::string& line : lines) {
            screen += line + "\n";
        }
        if (screen.find(text) != std::string::npos) {
            return lines;
        }
    }
    throw std::runtime_error("the screen has no \"" + text + "\" after a minute:\n" + screen);
}

void Terminal::Type(const std::string& key) const
{
    Run({"send-keys", key});
}

void Terminal::Resize(int columns, int rows) const
{
    Run({"resize-window", "-x", std::to_string(columns), "-y", std::to_string(rows)});
}

} // namespace ToolsTests
