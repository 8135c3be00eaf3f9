// Commands.h - what the monitor can be asked to do, and what several commands share.
#pragma once

#include "Tools/Monitor/Arguments.h"
#include "Tools/Monitor/Report.h"
#include "Tools/Monitor/ServerPort.h"
#include "Tools/Recording/Reader.h"

namespace Monitor {

// Each runs one command of its name and returns the program's exit code.
int Replay(const Arguments& arguments);
int Diff(const Arguments& arguments);
int Serve(const Arguments& arguments);

/// Shows the messages of a recording that the filter lets through as if they arrived. Returns the
/// exit code.
int ShowRecording(IReport& report, const Filter& filter, const Recording::Reader& reader);

std::unique_ptr<IReport> MakeReport(const Arguments& arguments);

/// Says why the port cannot be held. Returns the exit code.
int ShowPortFault();

/// Says that a file cannot be read. Returns the exit code.
int ShowUnreadable(const std::string& failure);

/// Runs the port until a signal, the reader's end, the handler or the report ends it, or the time
/// is over. Then refuses senders, and hands over what was sent before.
void RunPort(ServerPort& port, const std::function<bool()>& wantsMore,
             const std::optional<double>& seconds, IReport& report);

/// Returns the exit code, or another one if the output could not be written.
int Conclude(int exitCode);

/// Shows the last states. Returns the exit code.
int Finish(IReport& report, const StateTable& table);

} // namespace Monitor
