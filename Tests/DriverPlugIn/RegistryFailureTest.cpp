// RegistryFailureTest.cpp - opening a device without memory or an array.

#include "DriverPlugIn/Support/PlugInFixture.h"
#include "Support/BuildKind.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kFaultedInTheFill = 40;
constexpr int kFaultedElsewhere = 41;
constexpr int kReported = 42;
constexpr int kNotReported = 43;

#if QX_HAS_ADDRESS_SANITIZER || QX_HAS_THREAD_SANITIZER
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

bool WasAppended(const char* entry)
{
    const std::vector<std::string>& journal = PlatformCalls::GetJournal();
    return std::find(journal.begin(), journal.end(), entry) != journal.end();
}

void ExitAtFault(int /*signal*/, siginfo_t* info, void* /*context*/)
{
    const bool isInRecord = reinterpret_cast<std::uintptr_t>(info->si_addr) < sizeof(_PlugInInfo);
    const bool isAppended = WasAppended("append null") || WasAppended("append set");
    _exit(isInRecord && !isAppended ? kFaultedInTheFill : kFaultedElsewhere);
}

void* MapFirstPage()
{
    return mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_FIXED | MAP_PRIVATE | MAP_ANONYMOUS, -1,
                0);
}

// Many systems let only the superuser map the first page; some systems and the sanitizers forbid
// it.
bool CanMapFirstPage()
{
    if (kIsSanitized) {
        return false;
    }
    void* const page = MapFirstPage();
    if (page == MAP_FAILED) {
        return false;
    }
    munmap(page, 4096);
    return true;
}

// Opens a device while malloc gives null for its record. The exit code says what happened.
[[noreturn]] void OpenWithoutMemory()
{
    struct sigaction action = {};
    action.sa_sigaction = ExitAtFault;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSEGV, &action, nullptr);
    sigaction(SIGBUS, &action, nullptr);
    PlatformCalls::RefuseMemory(sizeof(_PlugInInfo));
    AudioDriverPlugInHostInfo hostInfo = {258, 0, 0, nullptr, nullptr};
    const OSStatus status = AudioDriverPlugInOpen(&hostInfo);
    // Not _exit, which would not write the counts of a coverage build.
    std::exit(status == kWhat && WasAppended("append null") ? kReported : kNotReported);
}

// The undefined-behaviour sanitizer stops the program at the first store, by a report of its own.
auto EndsAs(int code)
{
    return [code](int status) {
        return kIsSanitized ? status != 0 : WIFEXITED(status) && WEXITSTATUS(status) == code;
    };
}

class RegistryFailure : public PlugInFixture
{};

TEST_F(RegistryFailure, MissingMemoryFaultsInTheFillBeforeTheAppend)
{
    EXPECT_EXIT(OpenWithoutMemory(), EndsAs(kFaultedInTheFill), "");
}

TEST_F(RegistryFailure, MissingMemoryIsReportedAfterTheAppendWhereTheFirstPageIsMapped)
{
    const bool canMap = CanMapFirstPage();
    const int expected = canMap ? kReported : kFaultedInTheFill;

    EXPECT_EXIT(
        {
            if (canMap) {
                MapFirstPage();
            }
            OpenWithoutMemory();
        },
        EndsAs(expected), "");
}

TEST_F(RegistryFailure, ArrayThatCannotBeMadeStopsTheProgramAtTheAppend)
{
    PlatformCalls::Fail(Call::kArrayCreate);
    AudioDriverPlugInHostInfo hostInfo = {258, 0, 0, nullptr, nullptr};

    EXPECT_DEATH(AudioDriverPlugInOpen(&hostInfo), "CFArrayAppendValue");
}

TEST_F(RegistryFailure, NullHostInfoFaults)
{
    EXPECT_DEATH(AudioDriverPlugInOpen(nullptr), "");
}

} // namespace
