// RegistryChecks.cpp - opening and closing devices.

#include "Tools/Host/Validate/Check.h"

#include "Tools/Common/Text.h"

namespace Validate {
namespace {

constexpr UInt32 kOther = 259;

void Add(Checks& checks, const char* name, const char* rule, void (*run)(Bench&))
{
    checks.push_back({name, kRegistryTag, rule, run});
}

void ExpectOpen(const Bench& bench, Caller& plugIn, UInt32 device)
{
    bench.Expect(Tools::FormatText("opening device %llu", UInt64{device}), plugIn.Open(device), 0);
}

void ExpectClosed(const Bench& bench, Caller& plugIn, UInt32 device)
{
    bench.Expect(Tools::FormatText("closing device %llu", UInt64{device}), plugIn.Close(device), 0);
}

/// A get is refused as one of an open device: by its unknown property.
bool IsOpen(const Bench& bench, Caller& plugIn, UInt32 device)
{
    const Profile& profile = bench.GetProfile();
    const Answer answer =
        plugIn.Get({.device = device, .selector = profile.unknownSelector, .data = Bytes(4)});
    return answer.status != profile.notOpen;
}

void OpenSucceeds(Bench& bench)
{
    Caller& plugIn = bench.Load();
    ExpectOpen(bench, plugIn, kDevice);
    bench.Require(IsOpen(bench, plugIn, kDevice), "the device that was opened is not known");
}

void CloseSucceeds(Bench& bench)
{
    Caller& plugIn = bench.LoadAndOpen();
    ExpectClosed(bench, plugIn, kDevice);
    bench.Require(!IsOpen(bench, plugIn, kDevice), "the device is still known after its close");
}

void SecondOpenIsRefused(Bench& bench)
{
    Caller& plugIn = bench.LoadAndOpen();
    bench.Expect("the second open", plugIn.Open(kDevice), bench.GetProfile().openAgain);
}

void SecondOpenAddsNothing(Bench& bench)
{
    Caller& plugIn = bench.LoadAndOpen();
    plugIn.Open(kDevice);
    ExpectClosed(bench, plugIn, kDevice);
    bench.Require(!IsOpen(bench, plugIn, kDevice),
                  "after two opens and one close the device is still known");
}

void CloseOfUnknownIsRefused(Bench& bench)
{
    Caller& plugIn = bench.Load();
    bench.Expect("closing a device that was never opened", plugIn.Close(kDevice),
                 bench.GetProfile().notOpen);
    bench.Expect("opening the first device", plugIn.Open(kDevice), 0);
    bench.Expect("closing another device than the open one", plugIn.Close(kOther),
                 bench.GetProfile().notOpen);
}

void SecondCloseIsRefused(Bench& bench)
{
    Caller& plugIn = bench.LoadAndOpen();
    ExpectClosed(bench, plugIn, kDevice);
    bench.Expect("the second close", plugIn.Close(kDevice), bench.GetProfile().notOpen);
}

void ZeroIsOrdinary(Bench& bench)
{
    Caller& plugIn = bench.Load();
    ExpectOpen(bench, plugIn, 0);
    bench.Require(IsOpen(bench, plugIn, 0), "device 0 is not known after its open");
    ExpectClosed(bench, plugIn, 0);
}

void LargestIsOrdinary(Bench& bench)
{
    Caller& plugIn = bench.Load();
    ExpectOpen(bench, plugIn, 0xFFFFFFFF);
    bench.Require(IsOpen(bench, plugIn, 0xFFFFFFFF), "device 0xFFFFFFFF is not known");
    ExpectClosed(bench, plugIn, 0xFFFFFFFF);
}

void FirstCloseKeepsTheOther(Bench& bench)
{
    Caller& plugIn = bench.LoadAndOpen();
    ExpectOpen(bench, plugIn, kOther);
    ExpectClosed(bench, plugIn, kDevice);
    bench.Require(IsOpen(bench, plugIn, kOther), "closing one device closed the other too");
    ExpectClosed(bench, plugIn, kOther);
}

void ReopenSucceeds(Bench& bench)
{
    Caller& plugIn = bench.LoadAndOpen();
    ExpectClosed(bench, plugIn, kDevice);
    ExpectOpen(bench, plugIn, kDevice);
    bench.Require(IsOpen(bench, plugIn, kDevice), "the device is not known after its second open");
}

void ManyDevices(Bench& bench)
{
    constexpr UInt32 kFirst = 1000;
    constexpr UInt32 kEnd = kFirst + 64;
    Caller& plugIn = bench.Load();
    for (UInt32 device = kFirst; device < kEnd; ++device) {
        ExpectOpen(bench, plugIn, device);
    }
    // Every other one first, and then the rest backwards.
    for (UInt32 device = kFirst; device < kEnd; device += 2) {
        ExpectClosed(bench, plugIn, device);
    }
    for (UInt32 device = kEnd; device > kFirst; device -= 2) {
        bench.Require(IsOpen(bench, plugIn, device - 1),
                      "a device that is still open is not known");
        ExpectClosed(bench, plugIn, device - 1);
    }
    bench.Require(!IsOpen(bench, plugIn, kFirst + 1),
                  "a device is still known when all are closed");
}

void HostIsNotCalled(Bench& bench)
{
    bench.StartServer();
    Caller& plugIn = bench.LoadAndOpen();
    for (const PropertyRules& property : bench.GetProfile().properties) {
        plugIn.Set(MakeRequest(property));
    }
    ExpectClosed(bench, plugIn, kDevice);
    bench.ExpectNumber("the number of calls back into the host",
                       static_cast<UInt64>(Caller::GetCallbackCount()), 0);
}

} // namespace

void AddRegistryChecks(Checks& checks)
{
    Add(checks, "open", "A device can be opened, and is then known.", OpenSucceeds);
    Add(checks, "open-twice", "A second open of a device is refused.", SecondOpenIsRefused);
    Add(checks, "open-twice-close-once", "A refused open adds nothing: one close closes.",
        SecondOpenAddsNothing);
    Add(checks, "close", "An open device can be closed, and is then unknown.", CloseSucceeds);
    Add(checks, "close-unknown", "A close of a device that is not open is refused.",
        CloseOfUnknownIsRefused);
    Add(checks, "close-twice", "A second close of a device is refused.", SecondCloseIsRefused);
    Add(checks, "device-zero", "0 is an ordinary device ID.", ZeroIsOrdinary);
    Add(checks, "device-largest", "0xFFFFFFFF is an ordinary device ID.", LargestIsOrdinary);
    Add(checks, "close-one-of-two", "Closing a device leaves the others open.",
        FirstCloseKeepsTheOther);
    Add(checks, "reopen", "A device can be opened again after its close.", ReopenSucceeds);
    Add(checks, "many-devices", "64 devices can be open and be closed in any order.", ManyDevices);
    Add(checks, "no-announcements", "The plug-in does not call the host back.", HostIsNotCalled);
}

} // namespace Validate
