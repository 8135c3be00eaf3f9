// Report.h - what the host tells its user of the plug-in, the server and each call.
#pragma once

#include "Tools/Host/Isolation.h"
#include "Tools/Host/Session.h"

#include <memory>

namespace Host {

/// All calls of a session together.
struct Totals
{
    std::size_t calls = 0;
    std::size_t unexpected = 0;
    double shortest = 0; ///< microseconds
    double longest = 0;  ///< microseconds
    double sum = 0;      ///< microseconds

    void Take(const CallResult& result);
};

/// The standard output in one of its forms. Each call writes whole lines at once.
class IReport
{
public:
    virtual ~IReport() = default;

    virtual void ShowPlugIn(const std::string& path) = 0;
    /// `canBeThere` is false if something keeps the user from having a server, which has been told.
    virtual void ShowServer(const std::string& portName, bool isThere, bool canBeThere) = 0;
    virtual void ShowCall(std::size_t number, const Step& step, const CallResult& result) = 0;
    virtual void ShowTotals(const Totals& totals) = 0;

    /// The plug-in has ended the process; `how` says in which way, `gdb` is the command that shows
    /// it in a debugger.
    virtual void ShowEnd(const std::string& how, const ChildEnd& end, const std::string& gdb) = 0;
};

/// Text for a person. What is said for the direct-monitor plug-in alone is left out unless the
/// plug-in `isOwn`.
std::unique_ptr<IReport> MakeTextReport(bool isColoured, bool isOwn);

/// One JSON object a line.
std::unique_ptr<IReport> MakeJSONReport(bool isOwn);

/// What a status means, with the advice for the direct-monitor plug-in if it `isOwn`.
std::string ExplainFor(SInt32 status, bool isOwn);

/// "258, channel 0, input, 'DGme' enable, 4 bytes: 1"; what an action has no use for is left out.
std::string DescribeArguments(const Step& step, const CallResult& result);

/// What the call has stored, such as "size 4, writable", or "".
std::string DescribeOutput(const Step& step, const CallResult& result);

} // namespace Host
