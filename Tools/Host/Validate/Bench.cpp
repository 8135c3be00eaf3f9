// Bench.cpp - loading, servers and expectations.

#include "Tools/Host/Validate/Bench.h"

#include "Tools/Common/Text.h"
#include "Tools/Host/Status.h"

#include <algorithm>
#include <utility>

namespace Validate {

using Tools::FormatText;

Caller& Bench::Load()
{
    std::string error;
    mPlugIn = Host::PlugIn::Load(mBundle, error);
    if (mPlugIn == nullptr && mWasLoaded) {
        throw CheckFailed("the bundle cannot be loaded again: " + error);
    }
    if (mPlugIn == nullptr) {
        throw NotLoaded("the bundle cannot be loaded: " + error);
    }
    mWasLoaded = true;
    mCaller = std::make_unique<Caller>(mPlugIn->GetEntryPoints(), mJournal);
    return *mCaller;
}

void Bench::Unload()
{
    mJournal.GetVerdict().phase = Phase::kUnloading;
    mCaller.reset();
    mPlugIn.reset();
    mJournal.GetVerdict().phase = Phase::kCalls;
}

Caller& Bench::LoadAndOpen()
{
    Caller& plugIn = Load();
    Expect("opening the device", plugIn.Open(kDevice), kAudioHardwareNoError);
    return plugIn;
}

ServerDouble& Bench::StartServer(ServerDouble::Manner manner)
{
    mServer.reset();
    mServer = std::make_unique<ServerDouble>(mProfile.port, manner, mJournal);
    return *mServer;
}

std::vector<Message> Bench::TakeMessages()
{
    if (mServer != nullptr) {
        mServer->Collect();
    }
    std::vector<Message> messages;
    const UInt32 count = mJournal.GetCount();
    for (UInt32 index = std::max(mTaken, mJournal.GetFirst()); index < count; ++index) {
        const Event& event = mJournal.Get(index);
        if (event.isMessage) {
            const std::size_t size = std::min(std::size_t{event.dataSize}, Event::kMostData);
            messages.push_back({event.id, Bytes(event.data, event.data + size)});
        }
    }
    mTaken = count;
    return messages;
}

void Bench::Expect(const std::string& what, SInt32 status, SInt32 expected) const
{
    if (status != expected) {
        throw CheckFailed(what + " answered " + Host::FormatStatus(status) + " instead of " +
                          Host::FormatStatus(expected));
    }
}

void Bench::ExpectNumber(const std::string& what, UInt64 found, UInt64 expected) const
{
    if (found != expected) {
        throw CheckFailed(what + FormatText(" is %llu instead of %llu", found, expected));
    }
}

void Bench::ExpectUnchanged(const char* what, const Bytes& found, const Bytes& before) const
{
    if (found != before) {
        throw CheckFailed(FormatText("the call changed the %s: ", what) +
                          Tools::FormatHex(found.data(), found.size(), " "));
    }
}

void Bench::Require(bool isTrue, const std::string& finding) const
{
    if (!isTrue) {
        throw CheckFailed(finding);
    }
}

void Bench::ExpectMessages(const std::vector<ExpectedMessage>& expected)
{
    const std::string difference = CompareMessages(mProfile, TakeMessages(), expected);
    if (!difference.empty()) {
        throw CheckFailed(difference);
    }
}

void Bench::SetAndExpect(const PropertyRules& property, const Request& request)
{
    Expect("the set", mCaller->Set(request).status, kAudioHardwareNoError);
    ExpectMessages(ListMessages(property, request));
}

Request MakeRequest(const PropertyRules& property)
{
    Request request;
    request.selector = property.selector;
    const bool isWord = property.value == PropertyRules::Value::kWord;
    request.channel = property.isMasterOnly ? 0 : 1;
    request.data = isWord ? MakeWord(1) : MakeGains(1.0F, 0.5F);
    return request;
}

} // namespace Validate
