// Isolation.h - drives the plug-in in a child process, so that what it does to its process does not
// end the host without a word.
#pragma once

#include <functional>
#include <string>

namespace Host {

/// What the plug-in does in the child: a call, or "unloading the plug-in". It is kept in memory
/// that outlives the child.
class CallNote
{
public:
    virtual ~CallNote() = default;
    virtual void Begin(const std::string& call) = 0;
    virtual void End() = 0;
};

/// How the child ended.
struct ChildEnd
{
    enum class Kind
    {
        kReturned, ///< by itself, with its exit code
        kCrashed,
        kHung,  ///< a call took longer than its time limit
        kExited ///< the plug-in ended the process
    };

    Kind kind = Kind::kReturned;
    int exitCode = 0; ///< for kReturned and kExited
    int signal = 0;   ///< for kCrashed
    std::string call; ///< the last one, or "loading PATH", "unloading the plug-in" or "the end of
                      ///< the process"
    bool isInCall = false; ///< it had not returned
};

/// Runs `body` in a child process and waits for its end. What is written there to the standard
/// output and error by anything but the tools' own reports goes, line by line and marked as the
/// plug-in's, to this process's standard error. What the plug-in does at the end of the process
/// counts as a call. Where there can be no child, `body` runs here.
ChildEnd RunInChild(double callSeconds, const std::function<int(CallNote&)>& body);

/// Runs `body` in this process.
ChildEnd RunInProcess(const std::function<int(CallNote&)>& body);

} // namespace Host
