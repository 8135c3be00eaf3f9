// Bench.h - what a check works with, in a process of its own: the plug-in, servers, and the means
// to say what is expected.
//
//     bench.StartServer();
//     Caller& plugIn = bench.Load();
//     bench.Expect("the status", plugIn.Open(kDevice), 0);
//
// The first expectation that fails ends the check.
#pragma once

#include "Tools/Host/Validate/Caller.h"
#include "Tools/Host/Validate/Expectation.h"
#include "Tools/Host/Validate/ServerDouble.h"

#include <memory>
#include <string>

namespace Validate {

class Bench
{
public:
    /// `rounds` is how often a check repeats what may keep memory.
    Bench(std::string bundle, const Profile& profile, int rounds, Journal& journal)
        : mBundle(std::move(bundle))
        , mProfile(profile)
        , mRounds(rounds)
        , mJournal(journal)
    {}

    const Profile& GetProfile() const { return mProfile; }
    const std::string& GetBundle() const { return mBundle; }
    int GetRounds() const { return mRounds; }

    /// Loads the bundle. Throws NotLoaded if it cannot be loaded or lacks an entry point, and
    /// CheckFailed if it could be loaded before.
    Caller& Load();
    /// Unloads it, as far as nothing else keeps it.
    void Unload();
    /// Loads the bundle, opens kDevice and requires that this succeeds.
    Caller& LoadAndOpen();
    const Host::EntryPoints& GetEntryPoints() const { return mPlugIn->GetEntryPoints(); }
    const std::string& GetImagePath() const { return mPlugIn->GetPath(); }

    /// Starts a server in place of the one that ran before. Messages that have arrived are kept.
    ServerDouble& StartServer(ServerDouble::Manner manner = ServerDouble::Manner::kReading);
    void StopServer() { mServer.reset(); }

    /// What has arrived since the last call of this.
    std::vector<Message> TakeMessages();

    /// Each throws CheckFailed if something else was found.
    void Expect(const std::string& what, SInt32 status, SInt32 expected) const;
    void ExpectNumber(const std::string& what, UInt64 found, UInt64 expected) const;
    void ExpectUnchanged(const char* what, const Bytes& found, const Bytes& before) const;
    void Require(bool isTrue, const std::string& finding) const;
    void ExpectMessages(const std::vector<ExpectedMessage>& expected);
    /// Makes a set and requires its status, and that its messages and no others arrive.
    void SetAndExpect(const PropertyRules& property, const Request& request);

private:
    const std::string mBundle;
    const Profile& mProfile;
    const int mRounds;
    Journal& mJournal;
    bool mWasLoaded = false;
    std::unique_ptr<Host::PlugIn> mPlugIn;
    std::unique_ptr<Caller> mCaller;
    std::unique_ptr<ServerDouble> mServer;
    UInt32 mTaken = 0; ///< events of the journal that TakeMessages has seen
};

/// A request that a property accepts: 1, or the gains 1.0 and 0.5 on channel 1.
Request MakeRequest(const PropertyRules& property);

} // namespace Validate
