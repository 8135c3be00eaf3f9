// Serve.cpp - qxmon serve: a server with a fault, for tests of drivers.

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/Time.h"
#include "Tools/Monitor/Commands.h"
#include "Tools/Monitor/MessageDecoder.h"
#include "Tools/Monitor/OutputWatch.h"
#include "Tools/Monitor/Signals.h"

#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <iterator>
#include <limits>
#include <unistd.h>

namespace Monitor {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

/// A server from its first message to its last.
class Server
{
public:
    explicit Server(const Arguments& arguments)
        : mArguments(arguments)
        , mFault(*arguments.fault)
        , mReport(MakeReport(arguments))
    {}

    int Run();

private:
    bool WantsMore() const { return mTable.GetReceived() < mArguments.count.value_or(kNoLimit); }
    void Take(SInt32 id, const UInt8* data, std::size_t size);
    void RunSlowly();

    static constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

    const Arguments& mArguments;
    const Fault mFault;
    const std::unique_ptr<IReport> mReport;
    StateTable mTable;
    std::unique_ptr<ServerPort> mPort;
};

void Server::Take(SInt32 id, const UInt8* data, std::size_t size)
{
    if (mFault.profile == Profile::kSilent) {
        mTable.Lose();
        return;
    }
    if (!WantsMore()) {
        return;
    }
    const std::size_t number = mTable.GetReceived() + 1;
    if (mFault.profile == Profile::kRefuse && number == mFault.messages) {
        mPort->Refuse();
    }
    const Arrival arrival{number, Tools::GetTime(), DecodeRequest(id, data, size)};
    mTable.Take(arrival.message);
    mReport->ShowMessage(arrival);
    if (mFault.profile == Profile::kDieAfter && number == mFault.messages) {
        // As a crash: nothing is tidied up, and a sender that waits for its reply gets none.
        kill(getpid(), SIGKILL);
    }
    if (!WantsMore()) {
        CFRunLoopStop(CFRunLoopGetCurrent());
    }
}

/// Waits before each message that it takes.
void Server::RunSlowly()
{
    const Clock::time_point start = Clock::now();
    const auto left = [&] {
        return mArguments.seconds.value_or(kForeverSeconds) - Seconds(Clock::now() - start).count();
    };
    const auto goesOn = [&] { return WantsMore() && !WasInterrupted() && left() > 0; };
    while (goesOn()) {
        WaitForInterruption(std::min(mFault.seconds, left()));
        if (goesOn()) {
            mPort->RunOnce(left());
        }
    }
}

int Server::Run()
{
    static constexpr char kGarbage[] = "\x7F no document \xFF";
    const ServerPort::Reply garbage(std::begin(kGarbage), std::end(kGarbage) - 1);
    mPort = ServerPort::Create(
        [this](SInt32 id, const UInt8* data, std::size_t size) { Take(id, data, size); },
        mFault.profile == Profile::kGarbageReply ? garbage : ServerPort::Reply());
    if (mPort == nullptr) {
        return ShowPortFault();
    }
    if (mFault.profile == Profile::kRefuse && mFault.messages == 0) {
        mPort->Refuse();
    }
    StopRunLoopOnSignals();
    StopRunLoopWithoutReader();
    mReport->ShowReady(kServerPortName);
    switch (mFault.profile) {
    case Profile::kSlow:
        RunSlowly();
        mPort->Finish([this] { return WantsMore(); });
        break;
    case Profile::kSilent:
        WaitForInterruption(mArguments.seconds.value_or(kForeverSeconds));
        // What lies in the queue is counted, and that is all.
        mPort->Finish([] { return true; });
        break;
    case Profile::kRefuse:
    case Profile::kDieAfter:
    case Profile::kGarbageReply:
        RunPort(
            *mPort, [this] { return WantsMore(); }, mArguments.seconds, *mReport);
        break;
    }
    return Finish(*mReport, mTable);
}

} // namespace

int Serve(const Arguments& arguments)
{
    return Server(arguments).Run();
}

} // namespace Monitor
