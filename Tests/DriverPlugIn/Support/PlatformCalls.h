// PlatformCalls.h - the platform calls of the plug-in, recorded and made to fail.
//
// A test or fuzz program that links RecordedPlugIn is linked so that the plug-in's calls arrive at
// the functions of PlatformCalls.cpp. Each writes what it was asked into the journal, and then does
// what the real one does, or gives null, or throws. Ports are not real here: opening one succeeds
// while a server is said to be there, and a send records its message and answers the status that
// was chosen for it.
#pragma once

#include "DriverPlugIn/PlugInInfo.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <vector>

enum class Call
{
    kArrayCreate,
    kStringCreate,
    kPortOpen, ///< without a server it gives null
    kDictionaryCreate,
    kNumberCreate,
    kDataCreate,
    kDocumentCreate,
    kSend, ///< can only throw; what it answers is AnswerSends' choice
};

struct SentMessage
{
    CFMessagePortRef port = nullptr;
    int portNumber = 0; ///< 1 for the first port that was opened
    SInt32 id = 0;
    bool hasData = false;
    std::string data;
    double sendTimeoutSeconds = 0;
    double receiveTimeoutSeconds = 0;
    CFStringRef replyMode = nullptr;
    bool takesReply = false;
};

class PlatformCalls
{
public:
    /// Forgets everything and lets every call do what the real one does. No server is there.
    static void Reset();

    static void SetServerPresent(bool isPresent);
    /// Makes every further call give null.
    static void Fail(Call call);
    /// Makes every further call throw an exception of the framework with the text "thrown below".
    static void Throw(Call call);
    /// Makes every further call do what the real one does.
    static void Allow(Call call);
    static void AllowAll();
    /// Lets `other` run in the middle of the next such call, as another thread might, or a source
    /// of the run loop.
    static void RunDuring(Call call, std::function<void()> other);
    /// Chooses the statuses of the next sends; those after them are 0.
    static void AnswerSends(std::deque<SInt32> statuses);

    /// Refuses the next request for exactly `size` bytes: malloc gives null, and `new` of an object
    /// or an array throws std::bad_alloc.
    static void RefuseMemory(std::size_t size);
    /// Fills what malloc gives with 0xA5 from now on.
    static void PoisonAllocations();

    /// From now on the journal also names blocks that come from malloc and go to free.
    static void RecordBlocks();

    /// Makes the scan-th scan of the registry from now on find nothing, as if another thread had
    /// emptied the array; 1 is the next one. The others find what there is.
    static void HideRecordsFromScan(int scan);

    /// Releases the objects that were made and not released since Reset, and returns their names.
    static std::vector<std::string> ReleaseLeftBehind();

    /// What was called since Reset, in order.
    static const std::vector<std::string>& GetJournal();
    static void ClearJournal();
    static const std::vector<SentMessage>& GetSent();
    static void ClearSent();
    /// The records that were appended to an array, as they were at that moment.
    static const std::vector<_PlugInInfo>& GetAppended();
    /// The names under which a server was looked for.
    static const std::vector<std::string>& GetPortNames();
    /// The number of ports that were opened since Reset.
    static int CountPorts();
};
