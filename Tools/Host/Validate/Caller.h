// Caller.h - calls the entry points with lent buffers, and writes each call down first.
//
//     Caller caller(entryPoints, journal);
//     caller.Open(258);
//     const Answer answer = caller.Set({.channel = 0, .selector = kSelector, .data = bytes});
#pragma once

#include "Tools/Host/PlugIn.h"
#include "Tools/Host/Validate/Journal.h"
#include "Tools/Host/Validate/LentBuffer.h"

#include <optional>
#include <stdexcept>
#include <vector>

namespace Validate {

using Bytes = std::vector<unsigned char>;

inline constexpr UInt32 kDevice = 258;

/// What a property call hands over. A null pointer is handed over instead of a buffer that a
/// request lacks.
struct Request
{
    UInt32 device = kDevice;
    UInt32 channel = 0;
    Boolean isInput = 1;
    UInt32 selector = 0;
    Bytes data = {}; ///< what is set; or the room for a get, and what is in it before
    std::optional<UInt32> size = {}; ///< another size than that of the data
    bool hasSize = true;
    bool hasWritable = true;
    bool hasData = true;
    bool isOdd = false; ///< lends the data at an odd address
};

/// What a call has answered and stored.
struct Answer
{
    SInt32 status = 0;
    UInt32 size = 0;
    Boolean isWritable = 0;
    Bytes data;
};

/// What has ended a check: the text says what is wrong.
class CheckFailed : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The bundle could not be loaded, or lacks an entry point.
class NotLoaded : public CheckFailed
{
public:
    using CheckFailed::CheckFailed;
};

/// Every call throws CheckFailed if the entry point throws or writes outside what it was lent.
///
/// Threads: any; calls may overlap.
class Caller
{
public:
    /// What an info call finds in the size and the writable flag before it stores there.
    static constexpr UInt32 kUntouchedSize = 0x5A5A5A5A;
    static constexpr Boolean kUntouchedFlag = 0x5A;

    Caller(const Host::EntryPoints& entryPoints, Journal& journal)
        : mEntryPoints(entryPoints)
        , mJournal(journal)
    {}

    /// Opens a device. The record that is handed over is gone after the call.
    SInt32 Open(UInt32 device);
    SInt32 Close(UInt32 device);
    Answer Info(const Request& request);
    Answer Get(const Request& request);
    Answer Set(const Request& request);
    Answer StreamInfo(const Request& request);
    Answer StreamGet(const Request& request);
    Answer StreamSet(const Request& request);

    /// How often the plug-in has called the host back, of all callers.
    static int GetCallbackCount();

private:
    template <class Function>
    SInt32 Run(Event& event, Function function);
    Event& Begin(Recording::Action action, const Request& request);
    Answer AskInfo(Recording::Action action, const Request& request);
    Answer AskGet(Recording::Action action, const Request& request);
    Answer AskSet(Recording::Action action, const Request& request);

    const Host::EntryPoints& mEntryPoints;
    Journal& mJournal;
};

} // namespace Validate
