// Report.h - what the monitor tells its user: that it is ready, each message, and the last states.
#pragma once

#include "Tools/Monitor/StateTable.h"

#include <memory>
#include <optional>

namespace Monitor {

/// A message as it arrived.
struct Arrival
{
    std::size_t number = 0; ///< 1 for the first
    UInt64 time = 0;        ///< nanoseconds since 1970, or 0 for a captured document
    DecodedMessage message;
    SInt32 sender = 0; ///< the process that sent it, or 0 if that is unknown
};

/// A time that is never over.
inline constexpr double kForeverSeconds = 1.0e9;

/// The standard output in one of its forms. Each call writes whole lines at once.
class IReport
{
public:
    virtual ~IReport() = default;

    /// The port of that name is held; from now on messages arrive.
    virtual void ShowReady(const std::string& portName) = 0;
    virtual void ShowMessage(const Arrival& arrival) = 0;
    /// A message came that a filter leaves out.
    virtual void ShowLeftOut() {}
    /// Called whenever the run loop has been stopped. Returns how many seconds the loop may run
    /// until the next call, or nothing to end the monitor.
    virtual std::optional<double> Refresh() { return kForeverSeconds; }
    /// The last states; the report's end.
    virtual void ShowSummary(const StateTable& table) = 0;
};

/// Aligned text for a person; with `hasBytes`, every field's bytes are printed beside its name.
std::unique_ptr<IReport> MakeTextReport(bool hasBytes, bool isColoured);

/// One JSON object a line; with `hasBytes`, each message lists its fields.
std::unique_ptr<IReport> MakeJSONReport(bool hasBytes);

} // namespace Monitor
