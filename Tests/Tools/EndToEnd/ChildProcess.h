// ChildProcess.h - one of the tools as a real process of its own, with its output.
//
//     ChildProcess monitor(kMonitorProgram, {"--json", "--count", "1"});
//     monitor.ReadLine();   // waits for a line, for a minute at most
//     monitor.Wait();       // its exit code
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace ToolsTests {

inline constexpr const char* kMonitorProgram = QX_MONITOR_PROGRAM;
inline constexpr const char* kHostProgram = QX_HOST_PROGRAM;

class ChildProcess
{
public:
    /// Starts a program with those arguments, by the emulator if it is of another machine. `input`
    /// is what it reads from its standard input.
    ChildProcess(const std::string& program, std::vector<std::string> arguments,
                 const std::string& input = "");
    /// Kills a process that still runs.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits for the next line of the standard output. Returns nothing at its end.
    std::optional<std::string> ReadLine();

    /// All lines that are still to come.
    std::vector<std::string> ReadLines();

    /// Stops reading the standard output: the process then writes to a pipe without a reader.
    void CloseOutput();

    void Signal(int number) const;

    /// Waits for the end and returns the exit code, or minus the signal that ended it.
    int Wait();

    /// What the process has written to its standard error; complete after Wait.
    const std::string& GetErrors();

    pid_t GetID() const { return mID; }

private:
    bool ReadMore();

    pid_t mID = -1;
    int mOutput = -1;
    int mErrors = -1;
    std::string mBuffer;
    std::string mErrorText;
};

} // namespace ToolsTests
