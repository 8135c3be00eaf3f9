// FaultChecks.cpp - servers that are absent, late, slow, silent or dead.

#include "Tools/Common/Time.h"
#include "Tools/Host/Validate/Check.h"

#include <sys/resource.h>

namespace Validate {
namespace {

using Manner = ServerDouble::Manner;
using PropertyCheck = void (*)(Bench&, const PropertyRules&);

void AddEach(Checks& checks, const Profile& profile, const char* name, const char* rule,
             PropertyCheck run)
{
    for (const PropertyRules& property : profile.properties) {
        if (property.isWritable) {
            checks.push_back({std::string(name) + "-" + property.name, kFaultsTag, rule,
                              [run, property](Bench& bench) { run(bench, property); }});
        }
    }
}

void AnswersWithoutServer(Bench& bench, const PropertyRules& property)
{
    Caller& plugIn = bench.LoadAndOpen();
    bench.Expect("the set", plugIn.Set(MakeRequest(property)).status, property.setWithoutServer);
    bench.Expect("the second set", plugIn.Set(MakeRequest(property)).status,
                 property.setWithoutServer);
}

void FindsALateServer(Bench& bench, const PropertyRules& property)
{
    Caller& plugIn = bench.LoadAndOpen();
    plugIn.Set(MakeRequest(property));
    bench.StartServer();
    bench.SetAndExpect(property, MakeRequest(property));
}

void DoesNotNeedAReply(Bench& bench, const PropertyRules& property)
{
    bench.StartServer(Manner::kSlow);
    Caller& plugIn = bench.LoadAndOpen();
    const Request request = MakeRequest(property);
    bench.Expect("the set", plugIn.Set(request).status, 0);
    bench.ExpectMessages(ListMessages(property, request));
}

void ReportsADeadServer(Bench& bench, const PropertyRules& property)
{
    ServerDouble& server = bench.StartServer();
    Caller& plugIn = bench.LoadAndOpen();
    bench.SetAndExpect(property, MakeRequest(property));
    server.Kill();
    bench.Require(plugIn.Set(MakeRequest(property)).status != 0,
                  "the set answered 0 although the server is dead");
}

void SurvivesADyingServer(Bench& bench, const PropertyRules& property)
{
    bench.StartServer(Manner::kDying);
    Caller& plugIn = bench.LoadAndOpen();
    plugIn.Set(MakeRequest(property));
    plugIn.Set(MakeRequest(property));
    bench.Expect("the close", plugIn.Close(kDevice), 0);
}

void MeetsARestartedServer(Bench& bench, const PropertyRules& property)
{
    ServerDouble& server = bench.StartServer();
    Caller& plugIn = bench.LoadAndOpen();
    bench.SetAndExpect(property, MakeRequest(property));
    server.Kill();
    bench.StartServer();
    plugIn.Set(MakeRequest(property));
    if (bench.GetProfile().findsRestartedServer) {
        bench.TakeMessages();
        bench.SetAndExpect(property, MakeRequest(property));
        return;
    }
    bench.Require(plugIn.Set(MakeRequest(property)).status != 0,
                  "the set answered 0 although its port is that of the dead server");
    bench.ExpectMessages({});
}

void ReopensToARestartedServer(Bench& bench, const PropertyRules& property)
{
    ServerDouble& server = bench.StartServer();
    Caller& plugIn = bench.LoadAndOpen();
    bench.SetAndExpect(property, MakeRequest(property));
    server.Kill();
    plugIn.Set(MakeRequest(property));
    bench.StartServer();
    bench.Expect("the close", plugIn.Close(kDevice), 0);
    bench.Expect("the open", plugIn.Open(kDevice), 0);
    bench.SetAndExpect(property, MakeRequest(property));
}

/// Sets until one is refused: the server takes nothing, so its queue gets full.
void ReportsAFullQueue(Bench& bench)
{
    constexpr int kMostSets = 64;
    constexpr UInt64 kMostNanoseconds = 5'000'000'000;
    bench.StartServer(Manner::kSilent);
    Caller& plugIn = bench.LoadAndOpen();
    const PropertyRules& property = bench.GetProfile().properties.front();
    const Request request = MakeRequest(property);
    std::vector<ExpectedMessage> expected;
    const UInt64 start = Tools::GetTime();
    for (int turn = 0; turn < kMostSets; ++turn) {
        const SInt32 status = plugIn.Set(request).status;
        if (status != 0) {
            bench.Require(Tools::GetTime() - start < kMostNanoseconds,
                          "the set that was refused took more than 5 seconds");
            bench.ExpectMessages(expected);
            return;
        }
        for (const ExpectedMessage& message : ListMessages(property, request)) {
            expected.push_back(message);
        }
    }
    throw CheckFailed("64 sets answered 0 although the server takes none");
}

/// No port can be made while there is no free descriptor.
void BearsNoDescriptors(Bench& bench)
{
    bench.StartServer();
    Caller& plugIn = bench.LoadAndOpen();
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    const PropertyRules& property = bench.GetProfile().properties.front();
    const rlimit none = {0, limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    const SInt32 status = plugIn.Set(MakeRequest(property)).status;
    setrlimit(RLIMIT_NOFILE, &limit);
    bench.Expect("a set without a free descriptor", status, property.setWithoutServer);
    bench.SetAndExpect(property, MakeRequest(property));
}

} // namespace

void AddFaultChecks(Checks& checks, const Profile& profile)
{
    AddEach(checks, profile, "server-absent", "Without a server a set answers at once.",
            AnswersWithoutServer);
    AddEach(checks, profile, "server-late", "A server that appears later is found.",
            FindsALateServer);
    AddEach(checks, profile, "server-slow", "A set does not need the server's reply.",
            DoesNotNeedAReply);
    AddEach(checks, profile, "server-dies", "A set to a server that has died is refused.",
            ReportsADeadServer);
    AddEach(checks, profile, "server-dies-replying", "A server may die while its reply is awaited.",
            SurvivesADyingServer);
    AddEach(checks, profile, "server-restarts",
            "A device keeps its port, or finds the new server, as the profile says.",
            MeetsARestartedServer);
    AddEach(checks, profile, "server-restarts-reopened",
            "After a close and an open a device finds the new server.", ReopensToARestartedServer);
    if (!profile.properties.empty()) {
        checks.push_back({"server-queue-full", kFaultsTag,
                          "A set is refused in a short time when the server's queue is full.",
                          ReportsAFullQueue});
        checks.push_back({"no-descriptors", kFaultsTag,
                          "Without free descriptors a set answers as without a server.",
                          BearsNoDescriptors});
    }
}

} // namespace Validate
