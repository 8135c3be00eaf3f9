// HostileHostTest.cpp - the bundle in processes that lack descriptors, streams, stack or a server.
//
// Each test loads the bundle in a child process of its own, so that what it does to the process
// cannot affect the other tests.

#include "DriverPlugIn/Support/LoadedBundle.h"
#include "DriverPlugIn/Support/ServerProcess.h"
#include "Protocol/ServerProtocol.h"
#include "Support/BuildKind.h"

#include <CoreFoundation/CoreFoundation.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// A sanitizer's frames are many times larger than those of an ordinary build.
#if QX_HAS_ADDRESS_SANITIZER || QX_HAS_THREAD_SANITIZER
constexpr std::size_t kSmallStack = std::size_t{1024} * 1024;
#else
// The C library of powerpc allows no stack below 128 KiB.
constexpr std::size_t kSmallStack = std::size_t{sizeof(void*) == 4 ? 128 : 64} * 1024;
#endif

/// Ends the child process with the number of the step that has failed; 0 to 255.
void Require(bool holds, int step)
{
    if (!holds) {
        _exit(step);
    }
}

/// Runs `body` in a child process and returns the step that failed in it, 0 if none did, or minus
/// the signal that ended it.
template <class Body>
int FindFailedStep(Body body)
{
    // Or the child would write what the parent has buffered.
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        body();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

/// A process that holds the server's port and answers everything.
struct Server : ServerProcess
{
    Server()
        : ServerProcess(kSwallows)
    {}
};

/// The bundle, with the calls that these tests make.
class Bundle : public LoadedBundle
{
public:
    Bundle()
        : LoadedBundle(QX_BUNDLE_PATH)
    {}

    OSStatus SetEnable() const { return SetInteger(258, kDirectMonitorEnableProperty, 1); }
    OSStatus SetState(UInt32 state) const
    {
        return SetInteger(258, kDirectMonitorStateProperty, state);
    }
    OSStatus SetLevel() const
    {
        const Float32 gains[2] = {1.0F, 0.5F};
        return Set(258, kDirectMonitorLevelProperty, 8, gains);
    }
    OSStatus Get(UInt32 property) const
    {
        UInt32 size = 4;
        UInt32 data = 0;
        return Find<decltype(AudioDriverPlugInDeviceGetProperty)>(
            "AudioDriverPlugInDeviceGetProperty")(258, 0, 1, property, &size, &data);
    }
};

/// Makes every kind of call, each with the answer that it has while a server is there.
void UseEverything(const Bundle& bundle, int step)
{
    constexpr OSStatus kUnknown = 0x77686F3F;
    UInt32 size = 4;
    UInt32 data = 0;
    Boolean isWritable = 0;
    Require(bundle.Open(258) == 0, step);
    Require(bundle.Open(258) != 0, step + 1);
    Require(bundle.SetEnable() == 0, step + 2);
    Require(bundle.SetState(1) == 0, step + 3);
    Require(bundle.SetLevel() == 0, step + 4);
    Require(bundle.SetState(0) == 0, step + 5);
    Require(bundle.Set(258, 0x20202020, 4, &data) == kUnknown, step + 6);
    Require(bundle.Set(258, kDirectMonitorEnableProperty, 3, &data) != 0, step + 7);
    Require(bundle.Get(kDirectMonitorEnableProperty) != 0, step + 8);
    Require(bundle.Find<decltype(AudioDriverPlugInDeviceGetPropertyInfo)>(
                "AudioDriverPlugInDeviceGetPropertyInfo")(258, 0, 1, kDirectMonitorStateProperty,
                                                          &size, &isWritable) == 0,
            step + 9);
    Require(bundle.Find<decltype(AudioDriverPlugInStreamSetProperty)>(
                "AudioDriverPlugInStreamSetProperty")(
                258, 0, nullptr, 0, kDirectMonitorStateProperty, 4, &data) == kUnknown,
            step + 10);
    Require(bundle.Close(258) == 0, step + 11);
    Require(bundle.Close(258) != 0, step + 12);
}

/// What each open descriptor of the process is.
std::map<int, std::string> ListDescriptors()
{
    std::map<int, std::string> list;
    for (int descriptor = 0; descriptor < 256; ++descriptor) {
        char target[PATH_MAX] = "";
        const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
        if (readlink(link.c_str(), target, sizeof target - 1) > 0) {
            list[descriptor] = target;
        }
    }
    return list;
}

bool IsOfAPort(const std::string& target)
{
    return target.starts_with("socket:") || target == "anon_inode:[eventfd]";
}

/// Runs `body` in a child process, which must not write anything to the standard streams.
template <class Body>
void ExpectSilent(Body body)
{
    int output[2];
    ASSERT_EQ(pipe(output), 0);

    EXPECT_EQ(FindFailedStep([&] {
                  dup2(output[1], STDOUT_FILENO);
                  dup2(output[1], STDERR_FILENO);
                  body();
                  std::fflush(nullptr);
                  pollfd unread = {output[0], POLLIN, 0};
                  Require(poll(&unread, 1, 0) == 0, 100);
              }),
              0);

    close(output[0]);
    close(output[1]);
}

TEST(HostileHost, NothingIsWrittenAndNoFileStaysOpen)
{
    ExpectSilent([] {
        const Server server;
        const Bundle bundle;
        const std::map<int, std::string> before = ListDescriptors();

        UseEverything(bundle, 1);

        for (const auto& [descriptor, target] : ListDescriptors()) {
            const auto known = before.find(descriptor);
            Require(known != before.end() ? known->second == target : IsOfAPort(target), 20);
        }
    });
}

TEST(HostileHost, NothingIsWrittenOrOpenedWithoutAServer)
{
    ExpectSilent([] {
        const Bundle bundle;
        const std::map<int, std::string> before = ListDescriptors();

        Require(bundle.Open(258) == 0, 1);
        Require(bundle.SetEnable() == kCFMessagePortIsInvalid, 2);
        Require(bundle.SetState(1) == kCFMessagePortIsInvalid, 3);
        Require(bundle.SetLevel() == 0, 4);
        Require(bundle.Close(258) == 0, 5);
        Require(ListDescriptors() == before, 6);
    });
}

TEST(HostileHost, ClosedStandardStreamsAreNotTakenOver)
{
    EXPECT_EQ(FindFailedStep([] {
                  const Server server;
                  close(STDIN_FILENO);
                  close(STDOUT_FILENO);
                  close(STDERR_FILENO);
                  const Bundle bundle;

                  UseEverything(bundle, 1);

                  // Or a host that prints would print into the port.
                  for (int stream = 0; stream <= STDERR_FILENO; ++stream) {
                      Require(fcntl(stream, F_GETFD) < 0, 20 + stream);
                  }
              }),
              0);
}

TEST(HostileHost, ServerIsUnreachableUntilADescriptorIsFree)
{
    EXPECT_EQ(FindFailedStep([] {
                  const Bundle bundle;
                  Require(bundle.Open(258) == 0, 1);
                  // A sanitizer needs descriptors when it meets a class for the first time.
                  Require(bundle.SetEnable() == kCFMessagePortIsInvalid, 10);
                  const Server server;
                  rlimit usual = {};
                  getrlimit(RLIMIT_NOFILE, &usual);
                  const rlimit none = {0, usual.rlim_max};
                  Require(setrlimit(RLIMIT_NOFILE, &none) == 0, 2);

                  Require(bundle.SetEnable() == kCFMessagePortIsInvalid, 3);
                  Require(bundle.SetState(1) == kCFMessagePortIsInvalid, 4);
                  Require(bundle.SetLevel() == 0, 5);

                  Require(setrlimit(RLIMIT_NOFILE, &usual) == 0, 6);
                  Require(bundle.SetEnable() == 0, 7);
                  Require(bundle.SetState(0) == 0, 8);
                  Require(bundle.Close(258) == 0, 9);
              }),
              0);
}

TEST(HostileHost, DeadServerRaisesNoSignalThatEndsTheHost)
{
    EXPECT_EQ(FindFailedStep([] {
                  Server server;
                  std::signal(SIGPIPE, SIG_DFL);
                  const Bundle bundle;
                  Require(bundle.Open(258) == 0, 1);
                  Require(bundle.SetEnable() == 0, 2);
                  server.Kill();

                  for (int attempt = 0; attempt < 10; ++attempt) {
                      for (const OSStatus status :
                           {bundle.SetEnable(), bundle.SetLevel(), bundle.SetState(1)}) {
                          Require(status == kCFMessagePortTransportError ||
                                      status == kCFMessagePortIsInvalid,
                                  3);
                      }
                  }
                  Require(bundle.Close(258) == 0, 4);
              }),
              0);
}

TEST(HostileHost, EveryCallFitsASmallStack)
{
    EXPECT_EQ(FindFailedStep([] {
                  const Server server;
                  Bundle bundle;
                  pthread_attr_t attributes;
                  pthread_attr_init(&attributes);
                  Require(pthread_attr_setstacksize(&attributes, kSmallStack) == 0, 100);
                  const auto use = [](void* argument) -> void* {
                      UseEverything(*static_cast<Bundle*>(argument), 1);
                      return nullptr;
                  };
                  pthread_t thread = {};
                  Require(pthread_create(&thread, &attributes, use, &bundle) == 0, 101);
                  Require(pthread_join(thread, nullptr) == 0, 102);
                  pthread_attr_destroy(&attributes);
              }),
              0);
}

TEST(HostileHost, EveryCallWorksWithAllOfThisAtOnce)
{
    EXPECT_EQ(FindFailedStep([] {
                  Server server;
                  for (int stream = 0; stream <= STDERR_FILENO; ++stream) {
                      close(stream);
                  }
                  std::signal(SIGPIPE, SIG_DFL);
                  // The loader, the socket and the loop's own descriptor, and not one more.
                  const std::map<int, std::string> before = ListDescriptors();
                  const int highest = before.empty() ? 2 : std::max(2, before.rbegin()->first);
                  rlimit limit = {};
                  getrlimit(RLIMIT_NOFILE, &limit);
                  limit.rlim_cur = static_cast<rlim_t>(highest) + 4;
                  Require(setrlimit(RLIMIT_NOFILE, &limit) == 0, 100);
                  const Bundle bundle;

                  UseEverything(bundle, 1);

                  Require(bundle.Open(258) == 0, 30);
                  Require(bundle.SetEnable() == 0, 31);
                  server.Kill();
                  Require(bundle.SetEnable() != 0, 32);
                  Require(bundle.Close(258) == 0, 33);
              }),
              0);
}

} // namespace
