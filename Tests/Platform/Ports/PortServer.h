// PortServer.h - servers for the tests of message ports: one on a thread of the test's process and
// one in a process of its own.
#pragma once

#include "Platform/PlatformTesting.h"

#include <condition_variable>
#include <csignal>
#include <functional>
#include <mutex>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace Platform {

struct Received
{
    SInt32 mID;
    std::string mBytes;

    bool operator==(const Received&) const = default;
};

/// Serves a name on a thread as long as this object lives, and keeps what arrives.
class ThreadServer
{
public:
    using Answer = std::function<CFDataRef(SInt32 id)>;

    explicit ThreadServer(const std::string& name, Answer answer = nullptr)
        : mAnswer(std::move(answer))
    {
        mThread = std::thread([this, name] { Serve(name); });
        std::unique_lock lock(mMutex);
        mChanged.wait(lock, [this] { return mLoop != nullptr; });
    }
    ThreadServer(const ThreadServer&) = delete;
    ThreadServer& operator=(const ThreadServer&) = delete;
    ~ThreadServer()
    {
        CFRunLoopStop(mLoop);
        mThread.join();
        CFRelease(mLoop);
    }

    /// Waits until so many messages have arrived and returns all.
    std::vector<Received> WaitFor(std::size_t messages)
    {
        std::unique_lock lock(mMutex);
        mChanged.wait(lock, [&] { return mReceived.size() >= messages; });
        return mReceived;
    }

private:
    void Serve(const std::string& name)
    {
        CFStringRef string = MakeString(name.c_str());
        CFMessagePortContext context = {0, this, nullptr, nullptr, nullptr};
        CFMessagePortRef port =
            CFMessagePortCreateLocal(nullptr, string, &Receive, &context, nullptr);
        CFRelease(string);
        CFRunLoopSourceRef source = CFMessagePortCreateRunLoopSource(nullptr, port, 0);
        CFRunLoopAddSource(CFRunLoopGetCurrent(), source, kCFRunLoopDefaultMode);
        {
            const std::lock_guard lock(mMutex);
            // Keeps the loop alive after the end of its thread, for the thread that stops it.
            mLoop = CFRunLoopGetCurrent();
            CFRetain(mLoop);
        }
        mChanged.notify_all();
        EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1000.0, false), kCFRunLoopRunStopped);
        CFMessagePortInvalidate(port);
        CFRelease(source);
        CFRelease(port);
    }

    static CFDataRef Receive(CFMessagePortRef, SInt32 id, CFDataRef data, void* info)
    {
        auto& self = *static_cast<ThreadServer*>(info);
        {
            const std::lock_guard lock(self.mMutex);
            self.mReceived.push_back({id, BytesOf(data)});
        }
        self.mChanged.notify_all();
        return self.mAnswer ? self.mAnswer(id) : nullptr;
    }

    const Answer mAnswer;
    std::mutex mMutex;
    std::condition_variable mChanged;
    CFRunLoopRef mLoop = nullptr;
    std::vector<Received> mReceived;
    std::thread mThread;
};

/// Serves a name in a process of its own. It answers each message with its ID in four bytes, and
/// writes each ID, as four bytes, into a pipe.
class ProcessServer
{
public:
    explicit ProcessServer(const std::string& name)
    {
        int readiness[2];
        EXPECT_EQ(pipe(readiness), 0);
        EXPECT_EQ(pipe(mLog), 0);
        mProcess = fork();
        if (mProcess == 0) {
            Serve(name, readiness[1]);
        }
        close(readiness[1]);
        close(mLog[1]);
        char mark = 0;
        EXPECT_EQ(read(readiness[0], &mark, 1), 1);
        EXPECT_EQ(mark, '+');
        close(readiness[0]);
    }
    ProcessServer(const ProcessServer&) = delete;
    ProcessServer& operator=(const ProcessServer&) = delete;
    ~ProcessServer()
    {
        Kill();
        close(mLog[0]);
    }

    pid_t GetProcess() const { return mProcess; }

    /// Stops the process and waits until it has stopped.
    void Stop()
    {
        kill(mProcess, SIGSTOP);
        int status = 0;
        EXPECT_EQ(waitpid(mProcess, &status, WUNTRACED), mProcess);
        EXPECT_TRUE(WIFSTOPPED(status));
    }
    void Continue() { kill(mProcess, SIGCONT); }
    void Kill()
    {
        if (mProcess > 0) {
            kill(mProcess, SIGKILL);
            waitpid(mProcess, nullptr, 0);
            mProcess = -1;
        }
    }

    /// The ID of the next message that arrived; waits for it.
    SInt32 NextID()
    {
        SInt32 id = 0;
        EXPECT_EQ(read(mLog[0], &id, sizeof id), static_cast<ssize_t>(sizeof id));
        return id;
    }

private:
    [[noreturn]] void Serve(const std::string& name, int readiness)
    {
        CFMessagePortContext context = {0, this, nullptr, nullptr, nullptr};
        CFMessagePortRef port = CFMessagePortCreateLocal(nullptr, MakeString(name.c_str()),
                                                         &Receive, &context, nullptr);
        if (port != nullptr) {
            CFRunLoopAddSource(CFRunLoopGetCurrent(),
                               CFMessagePortCreateRunLoopSource(nullptr, port, 0),
                               kCFRunLoopDefaultMode);
        }
        const char mark = port != nullptr ? '+' : '-';
        [[maybe_unused]] const ssize_t written = write(readiness, &mark, 1);
        // The process ends by itself if the test is gone.
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 120.0, false);
        _exit(0);
    }

    static CFDataRef Receive(CFMessagePortRef, SInt32 id, CFDataRef, void* info)
    {
        auto& self = *static_cast<ProcessServer*>(info);
        [[maybe_unused]] const ssize_t written = write(self.mLog[1], &id, sizeof id);
        return CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(&id), sizeof id);
    }

    pid_t mProcess = -1;
    int mLog[2] = {-1, -1};
};

/// Makes a remote port by name; null if no process holds it.
inline CFMessagePortRef Connect(const std::string& name)
{
    CFStringRef string = MakeString(name.c_str());
    CFMessagePortRef port = CFMessagePortCreateRemote(nullptr, string);
    CFRelease(string);
    return port;
}

inline SInt32 SendOneWay(CFMessagePortRef port, SInt32 id, std::string_view bytes = {},
                         CFTimeInterval sendTimeout = 10.0)
{
    CFDataRef data = MakeData(bytes);
    const SInt32 status =
        CFMessagePortSendRequest(port, id, data, sendTimeout, 0.0, nullptr, nullptr);
    CFRelease(data);
    return status;
}

/// Sends a request without data; the reply, if it is asked for, is "<none>" if none came.
inline SInt32 SendRequest(CFMessagePortRef port, SInt32 id, CFTimeInterval receiveTimeout = 10.0,
                          std::string* reply = nullptr)
{
    CFDataRef data = nullptr;
    const SInt32 status =
        CFMessagePortSendRequest(port, id, nullptr, 10.0, receiveTimeout, kCFRunLoopDefaultMode,
                                 reply != nullptr ? &data : nullptr);
    if (reply != nullptr) {
        *reply = data != nullptr ? BytesOf(data) : "<none>";
    }
    if (data != nullptr) {
        CFRelease(data);
    }
    return status;
}

} // namespace Platform
