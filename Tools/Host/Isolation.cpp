// Isolation.cpp - the child, its two streams and its end.

#include "Tools/Host/Isolation.h"

#include "Tools/Common/Terminal.h"
#include "Tools/Common/Text.h"
#include "Tools/Host/Interruption.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace Host {
namespace {

using Clock = std::chrono::steady_clock;

/// As long as the child goes on.
constexpr int kNoExitCode = -1;

/// What parent and child share.
struct Shared
{
    std::atomic<unsigned> begun; ///< calls that have begun, and ended
    std::atomic<unsigned> ended;
    std::atomic<int> exitCode; ///< what the child is to end with, or kNoExitCode
    std::atomic<bool> isOver;  ///< it has ended by itself
    char call[512];
};

class SharedNote final : public CallNote
{
public:
    explicit SharedNote(Shared& shared)
        : mShared(shared)
    {}

    void Begin(const std::string& call) override
    {
        const std::size_t size = std::min(call.size(), sizeof mShared.call - 1);
        std::memcpy(mShared.call, call.data(), size);
        mShared.call[size] = '\0';
        mShared.begun.fetch_add(1, std::memory_order_release);
    }
    void End() override { mShared.ended.fetch_add(1, std::memory_order_release); }

private:
    Shared& mShared;
};

class NoNote final : public CallNote
{
public:
    void Begin(const std::string&) override {}
    void End() override {}
};

/// One stream of the child: shows each line when it is complete.
class Stream
{
public:
    explicit Stream(int descriptor)
        : mDescriptor(descriptor)
    {}
    ~Stream()
    {
        if (!mText.empty()) {
            Show();
        }
        close(mDescriptor);
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    int GetDescriptor() const { return mDescriptor; }

    /// Takes what is there; false at the end of the stream, or if nothing is there.
    bool Take()
    {
        std::array<char, 4096> block{};
        const ssize_t size = read(mDescriptor, block.data(), block.size());
        for (ssize_t index = 0; index < size; ++index) {
            const char character = block[static_cast<std::size_t>(index)];
            constexpr std::size_t kLongestLine = 4096;
            if (character != '\n') {
                mText.push_back(character);
            }
            if (character == '\n' || mText.size() > kLongestLine) {
                Show();
            }
        }
        return size > 0;
    }

private:
    void Show()
    {
        std::fprintf(stderr, "plug-in: %s\n", Tools::EscapeControls(mText).c_str());
        mText.clear();
    }

    const int mDescriptor;
    std::string mText;
};

pid_t gChild = 0;

/// A signal from the terminal reaches the child by itself; one that is sent to the host does not.
void PassOn(int number, siginfo_t* info, void*)
{
    if (info->si_code == SI_USER) {
        kill(gChild, number);
    }
}

void PassSignalsOn()
{
    struct sigaction action = {};
    action.sa_sigaction = PassOn;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

/// Gives the streams of this process to the plug-in and keeps the old ones for the tools.
void DivertStreams(int output, int errors)
{
    std::FILE* const ownOutput = fdopen(dup(STDOUT_FILENO), "w");
    std::FILE* const ownErrors = fdopen(dup(STDERR_FILENO), "w");
    if (ownOutput != nullptr && ownErrors != nullptr) {
        // As the standard error is.
        std::setvbuf(ownErrors, nullptr, _IONBF, 0);
        Tools::SetOutput(ownOutput, ownErrors);
    }
    // Or what the plug-in prints would come out at the very end.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    close(output);
    close(errors);
}

Shared* gShared = nullptr;

/// The child's side.
[[noreturn]] void RunAsChild(Shared& shared, const std::function<int(CallNote&)>& body)
{
    gShared = &shared;
    shared.exitCode = kNoExitCode;
    // Registered before the plug-in is loaded, this runs after what it does at the end.
    std::atexit([] { gShared->isOver = gShared->exitCode != kNoExitCode; });
    SharedNote note(shared);
    const int exitCode = body(note);
    std::fflush(nullptr);
    shared.exitCode = exitCode;
    note.Begin("the end of the process");
    std::exit(exitCode);
}

/// The parent's side.
class Child
{
public:
    Child(pid_t process, Shared& shared, double callSeconds, int output, int errors)
        : mProcess(process)
        , mShared(shared)
        , mCallSeconds(callSeconds)
        , mOutput(output)
        , mErrors(errors)
    {}

    ChildEnd Wait();

private:
    bool IsInCall() const { return mShared.begun.load() != mShared.ended.load(); }
    bool IsLate();
    void TakeStreams(int milliseconds);
    ChildEnd Judge(int status, bool isLate) const;

    const pid_t mProcess;
    Shared& mShared;
    const double mCallSeconds;
    Stream mOutput;
    Stream mErrors;
    unsigned mLastBegun = 0;
    Clock::time_point mLastChange = Clock::now();
};

bool Child::IsLate()
{
    const unsigned begun = mShared.begun.load();
    if (begun != mLastBegun || !IsInCall()) {
        mLastBegun = begun;
        mLastChange = Clock::now();
    }
    return std::chrono::duration<double>(Clock::now() - mLastChange).count() > mCallSeconds;
}

void Child::TakeStreams(int milliseconds)
{
    pollfd streams[] = {{mOutput.GetDescriptor(), POLLIN, 0}, {mErrors.GetDescriptor(), POLLIN, 0}};
    poll(streams, 2, milliseconds);
    bool isOpen = streams[0].revents != 0 && mOutput.Take();
    isOpen = (streams[1].revents != 0 && mErrors.Take()) || isOpen;
    if (!isOpen && (streams[0].revents | streams[1].revents) != 0) {
        // Both ends are closed: there is nothing more to wait for than the child's end.
        poll(nullptr, 0, milliseconds > 0 ? 1 : 0);
    }
}

ChildEnd Child::Wait()
{
    int status = 0;
    bool isLate = false;
    for (;;) {
        const pid_t ended = waitpid(mProcess, &status, WNOHANG);
        if (ended == mProcess || (ended < 0 && errno != EINTR)) {
            break;
        }
        if (!isLate && IsLate()) {
            isLate = true;
            kill(mProcess, SIGKILL);
        }
        constexpr int kTurnMilliseconds = 20;
        TakeStreams(kTurnMilliseconds);
    }
    while (mOutput.Take()) {
    }
    while (mErrors.Take()) {
    }
    return Judge(status, isLate);
}

ChildEnd Child::Judge(int status, bool isLate) const
{
    ChildEnd end;
    end.call = mShared.call;
    end.isInCall = IsInCall();
    if (isLate) {
        end.kind = ChildEnd::Kind::kHung;
    } else if (WIFSIGNALED(status)) {
        end.kind = ChildEnd::Kind::kCrashed;
        end.signal = WTERMSIG(status);
    } else {
        end.exitCode = WEXITSTATUS(status);
        const bool hasReturned = mShared.isOver && end.exitCode == mShared.exitCode;
        end.kind = hasReturned ? ChildEnd::Kind::kReturned : ChildEnd::Kind::kExited;
    }
    return end;
}

} // namespace

ChildEnd RunInProcess(const std::function<int(CallNote&)>& body)
{
    NoNote note;
    ChildEnd end;
    end.exitCode = body(note);
    return end;
}

ChildEnd RunInChild(double callSeconds, const std::function<int(CallNote&)>& body)
{
    void* const memory =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    int output[2];
    int errors[2];
    if (memory == MAP_FAILED || pipe2(output, O_CLOEXEC) != 0) {
        return RunInProcess(body);
    }
    if (pipe2(errors, O_CLOEXEC) != 0) {
        close(output[0]);
        close(output[1]);
        return RunInProcess(body);
    }
    auto& shared = *new (memory) Shared{};
    std::fflush(nullptr);
    // Until the parent passes them on, and the child has its turn.
    const HeldSignals signals;
    gChild = fork();
    if (gChild == 0) {
        signals.Release();
#ifdef __linux__
        prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
        close(output[0]);
        close(errors[0]);
        for (const int fault : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL, SIGPIPE}) {
            // The parent tells of a crash, so that no handler may take it.
            std::signal(fault, SIG_DFL);
        }
        DivertStreams(output[1], errors[1]);
        RunAsChild(shared, body);
    }
    close(output[1]);
    close(errors[1]);
    if (gChild < 0) {
        close(output[0]);
        close(errors[0]);
        signals.Release();
        return RunInProcess(body);
    }
    PassSignalsOn();
    signals.Release();
    for (const int end : {output[0], errors[0]}) {
        fcntl(end, F_SETFL, O_NONBLOCK);
    }
    ChildEnd end = Child(gChild, shared, callSeconds, output[0], errors[0]).Wait();
    munmap(memory, sizeof(Shared));
    return end;
}

} // namespace Host
