// EntryPoint.h - what a host does with a plug-in, and the names of the entry points.
#pragma once

namespace Recording {

enum class Action
{
    kOpen,
    kClose,
    kInfo,
    kGet,
    kSet,
    kStreamInfo,
    kStreamGet,
    kStreamSet,
    kSleep ///< no call but a pause: scripts have it, recordings do not
};

/// The name of the entry point that an action calls, or "" for a pause.
const char* GetEntryPointName(Action action);

/// Tells whether an action calls one of the three entry points of streams.
bool IsStream(Action action);

} // namespace Recording
