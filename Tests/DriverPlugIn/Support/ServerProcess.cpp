// ServerProcess.cpp - the forked server, and the ports that the plug-in opens to it.

#include "DriverPlugIn/Support/ServerProcess.h"

#include "Protocol/ServerProtocol.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <mutex>
#include <stdexcept>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kPatienceMilliseconds = 30000;
/// What the server tells when it has begun, and when it has replied.
constexpr SInt32 kHandled = -1000;

void Write(int file, const void* bytes, std::size_t size)
{
    if (write(file, bytes, size) != static_cast<ssize_t>(size)) {
        _exit(3);
    }
}

void Tell(int file, SInt32 id, const void* bytes, std::size_t size)
{
    const std::int32_t header[2] = {static_cast<std::int32_t>(id), static_cast<std::int32_t>(size)};
    Write(file, header, sizeof(header));
    Write(file, bytes, size);
}

void Read(int file, char* bytes, std::size_t size)
{
    while (size != 0) {
        pollfd waiting = {file, POLLIN, 0};
        const int ready = poll(&waiting, 1, kPatienceMilliseconds);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        const ssize_t count = ready > 0 ? read(file, bytes, size) : 0;
        if (count <= 0) {
            throw std::runtime_error("the server tells nothing more");
        }
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
}

ReceivedMessage ReadMessage(int file)
{
    std::int32_t header[2];
    Read(file, reinterpret_cast<char*>(header), sizeof(header));
    std::string data(static_cast<std::size_t>(header[1]), '\0');
    Read(file, data.data(), data.size());
    return {static_cast<SInt32>(header[0]), data};
}

struct Pipes
{
    int output;
    int control;
    bool waits;
    bool tells;
};

CFDataRef Handle(CFMessagePortRef /*port*/, SInt32 id, CFDataRef data, void* info)
{
    const Pipes& pipes = *static_cast<Pipes*>(info);
    if (pipes.tells) {
        Tell(pipes.output, id, CFDataGetBytePtr(data),
             static_cast<std::size_t>(CFDataGetLength(data)));
    }
    char permission = 0;
    if (pipes.waits && read(pipes.control, &permission, 1) != 1) {
        _exit(4);
    }
    return nullptr;
}

} // namespace

ServerProcess::ServerProcess(Behaviour behaviour)
{
    int output[2];
    int control[2];
    if (pipe(output) != 0 || pipe(control) != 0) {
        throw std::runtime_error("no pipes for the server");
    }
    mProcess = fork();
    if (mProcess == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        Serve(behaviour, output[1], control[0]);
    }
    close(output[1]);
    close(control[0]);
    mOutput = output[0];
    mControl = control[1];
    if (ReadMessage(mOutput).id != kHandled) {
        throw std::runtime_error("the server does not begin");
    }
}

ServerProcess::~ServerProcess()
{
    Kill();
    close(mOutput);
    close(mControl);
}

void ServerProcess::Serve(Behaviour behaviour, int output, int control)
{
    Pipes pipes = {output, control, behaviour == kWaitsToReply, behaviour != kSwallows};
    CFMessagePortContext context = {0, &pipes, nullptr, nullptr, nullptr};
    Boolean isExisting = 0;
    const CFMessagePortRef port =
        CFMessagePortCreateLocal(nullptr, CFSTR(kServerPortName), Handle, &context, &isExisting);
    if (port == nullptr || isExisting != 0) {
        _exit(2);
    }
    if (behaviour != kNeverRuns) {
        CFRunLoopAddSource(CFRunLoopGetCurrent(),
                           CFMessagePortCreateRunLoopSource(nullptr, port, 0),
                           kCFRunLoopDefaultMode);
    }
    Tell(output, kHandled, nullptr, 0);
    while (behaviour == kNeverRuns) {
        pause();
    }
    for (;;) {
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1.0e6, true);
        if (pipes.waits) {
            Tell(output, kHandled, nullptr, 0);
        }
    }
}

ReceivedMessage ServerProcess::Receive()
{
    return ReadMessage(mOutput);
}

void ServerProcess::LetReply()
{
    Write(mControl, "r", 1);
    if (Receive().id != kHandled) {
        throw std::runtime_error("the server has not replied");
    }
}

void ServerProcess::Kill()
{
    if (mProcess > 0) {
        kill(mProcess, SIGKILL);
        waitpid(mProcess, nullptr, 0);
        mProcess = -1;
    }
}

void ServerProcess::KillSoon()
{
    kill(mProcess, SIGKILL);
}

void ServerProcess::Stop()
{
    kill(mProcess, SIGSTOP);
    waitpid(mProcess, nullptr, WUNTRACED);
}

void ServerProcess::Continue()
{
    kill(mProcess, SIGCONT);
}

// The wrapped call of the plug-in.
extern "C" decltype(CFMessagePortCreateRemote) __real_CFMessagePortCreateRemote,
    __wrap_CFMessagePortCreateRemote;

namespace {

std::mutex gMutex;
/// Has room for more ports than a test opens; guarded by gMutex.
std::vector<CFMessagePortRef> gOpenedPorts = [] {
    std::vector<CFMessagePortRef> ports;
    ports.reserve(1024);
    return ports;
}();

} // namespace

CFMessagePortRef __wrap_CFMessagePortCreateRemote(CFAllocatorRef allocator, CFStringRef name)
{
    const CFMessagePortRef port = __real_CFMessagePortCreateRemote(allocator, name);
    if (port != nullptr) {
        const std::lock_guard lock(gMutex);
        gOpenedPorts.push_back(port);
    }
    return port;
}

int CountOpenedPorts()
{
    const std::lock_guard lock(gMutex);
    return static_cast<int>(gOpenedPorts.size());
}

void ReleaseOpenedPorts()
{
    const std::lock_guard lock(gMutex);
    for (const CFMessagePortRef port : gOpenedPorts) {
        CFRelease(port);
    }
    gOpenedPorts.clear();
}
