// WrappedPlatform.h - the platform around the plug-in, as a fuzz target decides it.
//
// The program is linked so that the plug-in's calls arrive here. Ports are objects that nobody
// looks into; a send keeps its message and gives the answer that was chosen for it.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <vector>

/// What the making of a message's data throws on demand.
class ThrownBelow : public std::exception
{};

class WrappedPlatform
{
public:
    /// What is not made; the last throws instead.
    enum Failure : uint8_t
    {
        kString = 1,
        kDictionary = 2,
        kNumber = 4,
        kData = 8,
        kDocument = 16,
        kThrow = 32
    };

    struct Sent
    {
        SInt32 id;
        bool hasData;
        bool hasReplyMode;
        std::vector<unsigned char> data;
    };

    /// No server, no failures, no answers, nothing sent.
    static void Reset();

    static void SetServerPresent(bool isPresent);
    static bool IsServerPresent();
    static void SetFailures(uint8_t failures);
    static bool IsFailing(Failure failure);
    /// Chooses the answer of the first send that has none yet. Those without one succeed.
    static void AnswerNextSend(SInt32 status);
    /// The answer of a send that comes after `ahead` others from now on.
    static SInt32 GetAnswer(std::size_t ahead);

    /// What was sent since ClearSent.
    static const std::vector<Sent>& GetSent();
    static void ClearSent();

    /// The dictionaries and numbers that an exception left behind.
    static SInt32 CountLeftBehind();
    static void ReleaseLeftBehind();
    /// Releases every port that was opened.
    static void ReleasePorts();
};
