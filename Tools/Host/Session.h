// Session.h - drives a plug-in through steps as the HAL would, and times each call.
#pragma once

#include "Tools/Host/PlugIn.h"
#include "Tools/Host/Step.h"

#include <functional>

namespace Host {

/// What one call did.
struct CallResult
{
    UInt32 device = 0;
    SInt32 status = 0;
    std::string exception; ///< the text of what the call threw; its status means nothing then
    double microseconds = 0;
    UInt32 size = 0;                 ///< what the call stored as the size, for info and get
    Boolean isWritable = 0;          ///< for info
    std::vector<unsigned char> data; ///< what a successful get stored
    std::size_t overrun = 0;         ///< bytes that a get wrote after the end of its room
    bool isAsExpected = false;
};

/// Runs steps against a plug-in. Calls without a device go to the one opened last, or to
/// kDefaultDevice.
class Session
{
public:
    static constexpr UInt32 kDefaultDevice = 258;
    using Observer = std::function<void(const Step& step, const CallResult& result)>;

    /// Is told of each call before it is made.
    using Announcer = std::function<void(const Step& step, UInt32 device)>;

    /// The entry points must outlive the session; the observer is told of each call.
    Session(const EntryPoints& entryPoints, Observer observer, Announcer announcer = {});

    /// Makes one call, or pauses. During a pause the thread's run loop runs, as in a real host: a
    /// port's end is noticed.
    void Run(const Step& step);

    /// Closes the devices that are still open, in the order of their opening.
    void CloseAll();

private:
    void NoteOpenDevices(Action action, UInt32 device);
    SInt32 Call(const Step& step, CallResult& result);
    SInt32 CallStream(const Step& step, CallResult& result);

    const EntryPoints& mEntryPoints;
    const Observer mObserver;
    const Announcer mAnnouncer;
    UInt32 mCurrentDevice = kDefaultDevice;
    std::vector<UInt32> mOpenDevices;
};

} // namespace Host
