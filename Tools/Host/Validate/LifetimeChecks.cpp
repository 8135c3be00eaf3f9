// LifetimeChecks.cpp - loading, unloading and the end of the process; what is kept; what is
// printed.

#include "Tools/Host/Validate/Check.h"

#include "Tools/Common/Text.h"
#include "Tools/Host/Validate/OpenedFiles.h"
#include "Tools/Host/Validate/ProcessFacts.h"

#include <dlfcn.h>
#include <filesystem>
#include <functional>

namespace Validate {
namespace {

using Tools::FormatText;

/// The first rounds fill caches that stay.
constexpr int kFirstRounds = 50;
/// Less than the smallest block of memory for each round.
constexpr std::size_t kMostGrowth = 4096;

/// Calls of every kind that a device's life has. Without a server the sets are refused.
void UseDevice(const Bench& bench, Caller& plugIn)
{
    plugIn.Open(kDevice);
    for (const PropertyRules& property : bench.GetProfile().properties) {
        plugIn.Info(MakeRequest(property));
        plugIn.Get(MakeRequest(property));
        plugIn.Set(MakeRequest(property));
    }
    plugIn.StreamInfo({});
    plugIn.Close(kDevice);
}

/// Requires that rounds of something leave the heap and the descriptors as they are.
void ExpectNoGrowth(const Bench& bench, const std::function<void()>& round)
{
    for (int turn = 0; turn < kFirstRounds; ++turn) {
        round();
    }
    const std::size_t heap = CountHeapBytes();
    const std::map<int, std::string> descriptors = ListDescriptors();
    const std::size_t heapOfList = CountHeapBytes() - heap;
    for (int turn = 0; turn < bench.GetRounds(); ++turn) {
        round();
    }
    const std::size_t heapLater = CountHeapBytes() - heapOfList;
    const std::string rounds = Tools::Count(static_cast<UInt64>(bench.GetRounds()), "round");
    for (const auto& [number, target] : ListDescriptors()) {
        bench.Require(descriptors.contains(number),
                      "after " + rounds + FormatText(" descriptor %d is open: ", number) + target);
    }
    bench.Require(heapLater < heap + kMostGrowth, "after " + rounds + " the heap has grown by " +
                                                      Tools::Count(heapLater - heap, "byte"));
}

void Unloads(Bench& bench)
{
    UseDevice(bench, bench.Load());
    const std::string path = bench.GetImagePath();
    bench.Unload();
    void* const image = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    bench.Require(image == nullptr, "the bundle is still loaded after it was unloaded");
}

void StartsAfresh(Bench& bench)
{
    bench.LoadAndOpen();
    bench.Unload();
    Caller& plugIn = bench.Load();
    bench.Expect("the close of a device that was open before the bundle was loaded again",
                 plugIn.Close(kDevice), bench.GetProfile().notOpen);
    bench.Expect("the open", plugIn.Open(kDevice), 0);
}

void UnloadsWhileOpen(Bench& bench)
{
    bench.StartServer();
    Caller& plugIn = bench.LoadAndOpen();
    for (const PropertyRules& property : bench.GetProfile().properties) {
        plugIn.Set(MakeRequest(property));
    }
    bench.Unload();
}

void EndsWhileOpen(Bench& bench)
{
    Caller& plugIn = bench.LoadAndOpen();
    bench.Expect("opening a second device", plugIn.Open(kDevice + 1), 0);
}

void RepeatsLoading(Bench& bench)
{
    ExpectNoGrowth(bench, [&] {
        UseDevice(bench, bench.Load());
        bench.Unload();
    });
}

void RepeatsOpening(Bench& bench)
{
    Caller& plugIn = bench.Load();
    ExpectNoGrowth(bench, [&] { UseDevice(bench, plugIn); });
}

void RepeatsSets(Bench& bench)
{
    bench.StartServer();
    Caller& plugIn = bench.LoadAndOpen();
    ExpectNoGrowth(bench, [&] {
        for (const PropertyRules& property : bench.GetProfile().properties) {
            bench.Expect("the set", plugIn.Set(MakeRequest(property)).status, 0);
        }
    });
}

void RepeatsRefusals(Bench& bench)
{
    bench.StartServer();
    Caller& plugIn = bench.LoadAndOpen();
    const Profile& profile = bench.GetProfile();
    ExpectNoGrowth(bench, [&] {
        plugIn.Open(kDevice);
        plugIn.Close(kDevice + 1);
        for (const PropertyRules& property : profile.properties) {
            Request request = MakeRequest(property);
            request.isInput = 0;
            plugIn.Set(request);
            plugIn.Get(request);
        }
        plugIn.Set({.selector = profile.unknownSelector, .data = MakeWord(1)});
        plugIn.StreamSet({.data = MakeWord(1)});
    });
}

/// A whole session, with a server and without, from loading to unloading.
void UseAll(Bench& bench)
{
    UseDevice(bench, bench.Load());
    bench.Unload();
    bench.StartServer();
    Caller& plugIn = bench.LoadAndOpen();
    for (const PropertyRules& property : bench.GetProfile().properties) {
        bench.SetAndExpect(property, MakeRequest(property));
    }
    bench.StopServer();
    for (const PropertyRules& property : bench.GetProfile().properties) {
        plugIn.Set(MakeRequest(property));
    }
    plugIn.Open(kDevice);
    plugIn.Set({.selector = bench.GetProfile().unknownSelector, .data = MakeWord(1)});
    plugIn.Close(kDevice);
    bench.Unload();
}

void OpensNoFiles(Bench& bench)
{
    namespace fs = std::filesystem;
    const OpenedFiles opened(Host::FindImagePath(bench.GetBundle()));
    UseAll(bench);
    bench.Require(opened.GetFirst().empty(), "a file was opened: " + opened.GetFirst());
    // The working folder is the check's own, and was empty but for the folder of the ports.
    for (const fs::directory_entry& entry : fs::directory_iterator(".")) {
        const std::string name = entry.path().filename().string();
        bench.Require(name == "qx-ports", "a file was made: " + name);
    }
}

} // namespace

void AddLifetimeChecks(Checks& checks)
{
    checks.push_back({"unload", kLifetimeTag,
                      "Nothing keeps the bundle loaded after it was unloaded.", Unloads});
    checks.push_back({"load-again", kLifetimeTag, "A bundle that is loaded again knows no devices.",
                      StartsAfresh});
    checks.push_back({"unload-while-open", kLifetimeTag,
                      "The bundle can be unloaded with open devices.", UnloadsWhileOpen});
    checks.push_back({.name = "exit-while-open",
                      .tag = kLifetimeTag,
                      .rule = "The process can end with open devices.",
                      .run = EndsWhileOpen,
                      .endsByExit = true});
    checks.push_back({"rounds-of-loading", kLifetimeTag,
                      "Rounds of loading and unloading keep no memory and no descriptor.",
                      RepeatsLoading});
    checks.push_back({"rounds-of-opening", kLifetimeTag,
                      "Rounds of opening and closing keep no memory and no descriptor.",
                      RepeatsOpening});
    checks.push_back({"rounds-of-sets", kLifetimeTag,
                      "Rounds of sets keep no memory and no descriptor.", RepeatsSets});
    checks.push_back({"rounds-of-refusals", kLifetimeTag,
                      "Rounds of refused calls keep no memory and no descriptor.",
                      RepeatsRefusals});
    checks.push_back(
        {"opens-no-files", kLifetimeTag, "The plug-in opens and makes no files.", OpensNoFiles});
}

void AddOutputChecks(Checks& checks)
{
    checks.push_back({.name = "prints-nothing",
                      .tag = kLifetimeTag,
                      .rule = "The plug-in writes nothing to the streams of its process.",
                      .run = UseAll,
                      .isAboutOutput = true});
}

} // namespace Validate
