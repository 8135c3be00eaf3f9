// ExitScenarios.cpp - what static objects may do before main and after it.
//
//     NotificationExitAfter SCENARIO
//     NotificationExitBefore SCENARIO before
//     NotificationExitBeforeShared SCENARIO before-library
//
// The exit code is 0 if everything was as it should be; leaks are the leak checker's to find. The
// static objects of the first program end after the framework's, those of the others before. The
// third uses the shared library, whose objects end after the verdict.

#include <QX/QX.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using QX::LNotification;
using QX::LNotificationCenter;
using QX::LNotificationCenterManager;
using QX::LNotificationClient;
using QX::LNotificationDistributor;
using QX::LRefCountedObject;
using QX::RCPtr;

void Require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::_Exit(1);
    }
}

// Plain numbers: they live as long as the process.
int gAsked = 0;
int gExpectedAsked = 0;
int gClients = 0;
int gExpectedClients = 0;
int gPayloads = 0;
bool gClientsMakeStrings = false;

class LClient : public QX::LNotificationReceiver
{
public:
    LClient() { ++gClients; }
    ~LClient() override { --gClients; }
    void HandleNotification(const RCPtr<LNotificationDistributor>&,
                            const QX::ConstRCPtr<LNotification>&) override
    {}
    QX::int32 ForceUnregisterNotification(const RCPtr<LNotificationDistributor>& distributor,
                                          const char* id) override
    {
        ++gAsked;
        if (gClientsMakeStrings) {
            const QX::String empty;
            const QX::String copied("");
            const QX::String16 wide;
            Require(empty.IsEmpty() && copied.IsEmpty() && wide.IsEmpty(), "empty strings live");
        }
        return distributor->UnregisterNotificationClient(RCPtr<LNotificationClient>(this), id);
    }
};

/// A payload that uses the notification system when it ends.
class LBusyPayload : public LRefCountedObject
{
public:
    LBusyPayload() { ++gPayloads; }
    ~LBusyPayload() override
    {
        --gPayloads;
        const auto distributor = LNotificationDistributor::Create();
        const RCPtr<LNotificationClient> client(new LClient);
        distributor->RegisterNotificationClient(client, "late", 0);
        distributor->UnregisterNotificationClient(client);
        LNotification::SetNotificationReuseEnable(false);
    }
};

/// Asks for the default manager when that has been released, and for no names when the table of
/// names is gone.
struct LateQuestion
{
    ~LateQuestion()
    {
        Require(LNotification::GetNotificationID(nullptr) == nullptr, "null has no ID");
        Require(LNotification::GetNotificationID("") == nullptr, "an empty name has no ID");
        Require(LNotification::GetNotificationID("early") == id, "a known name keeps its ID");
        const char* const unknown = "never entered";
        Require(isAskedBefore || LNotification::GetNotificationID(unknown) == unknown,
                "an unknown name is its own ID");
        const auto manager = LNotificationCenterManager::GetDefaultManager();
        Require(isAskedBefore || manager == nullptr, "the default manager is released");
    }
    const char* id = nullptr;   ///< of "early"
    bool isAskedBefore = false; ///< before the framework's static objects end
    bool isLibraryShared = false;
};

LateQuestion gLateQuestion;

/// Uses names and notifications before the framework's own statics may exist, and holds what main
/// gives it until its own end.
struct Early
{
    Early()
    {
        id = LNotification::GetNotificationID("early");
        notification = LNotification::Create("early", nullptr);
        gLateQuestion.id = id;
        Require(id != nullptr && notification->GetID() == id, "a name can be used before main");
    }
    ~Early()
    {
        notification = nullptr;
        late = nullptr;
        center = nullptr;
    }

    const char* id = nullptr;
    RCPtr<LNotification> notification;
    RCPtr<LNotification> late;
    RCPtr<LNotificationCenter> center;
};

/// Looks at the numbers when the static objects of this program have ended.
[[gnu::destructor]] void GiveVerdict()
{
    Require(gAsked == gExpectedAsked, "every client was asked once");
    Require(gClients == gExpectedClients, "every client has ended");
    Require(gPayloads == 0, "every payload has ended");
}

constinit RCPtr<LNotificationCenter> gConstantCenter; // touches no name before main
Early gEarly;

RCPtr<LNotificationCenter> MakeCenter(int clients)
{
    auto center = LNotificationCenter::Create("center");
    for (int count = 0; count < clients; ++count) {
        center->RegisterNotificationClient(RCPtr<LNotificationClient>(new LClient), "early", 0);
    }
    center->PostForBroadcast(LNotification::Create("pending", nullptr));
    return center;
}

void LeaveADefaultManager()
{
    const auto manager = LNotificationCenterManager::Create();
    for (const char* const name : {"application", "other"}) {
        const auto center = manager->GetOrCreateNotificationCenter(name);
        center->RegisterNotificationClient(RCPtr<LNotificationClient>(new LClient), "A", 0);
        center->RegisterNotificationClient(RCPtr<LNotificationClient>(new LClient), "B", 0);
    }
    LNotificationCenterManager::SetDefaultManager(manager);
    gClientsMakeStrings = true;
    // In a shared library the manager outlives the verdict.
    const bool endsFirst = !gLateQuestion.isLibraryShared;
    gExpectedAsked = endsFirst ? 4 : 0;
    gExpectedClients = endsFirst ? 0 : 4;
}

void LeaveParkedNotifications()
{
    LNotification::SetNotificationReuseEnable(true);
    const auto first = LNotification::Create("A", nullptr);
    const auto second = LNotification::Create("B", RCPtr<LRefCountedObject>(new LBusyPayload));
    const auto posted = LNotification::Create("C", RCPtr<LRefCountedObject>(new LBusyPayload));
    posted->SetPosted(true);
}

void LeaveObjectsInAStaticObject()
{
    LNotification::SetNotificationReuseEnable(true);
    gEarly.late = LNotification::Create("late", RCPtr<LRefCountedObject>(new LBusyPayload));
    gEarly.center = MakeCenter(2);
    gClientsMakeStrings = true;
    gExpectedAsked = 2;
}

void LeaveACenterInAConstantPointer()
{
    gConstantCenter = MakeCenter(3);
    gExpectedAsked = 3;
}

// The client that leaves last is the holder of its distributor.
void LeaveAListedDistributor()
{
    const auto distributor = LNotificationDistributor::Create();
    const RCPtr<LNotificationClient> client(new LClient);
    distributor->RegisterNotificationClient(client, "A", 0);
    static struct Leaver
    {
        RCPtr<LNotificationDistributor> distributor;
        RCPtr<LNotificationClient> client;
        ~Leaver()
        {
            Require(distributor->UnregisterNotificationClient(client) == 1, "it was registered");
            Require(distributor->GetContainedReferenceCount() == 0, "nothing is contained");
            Require(distributor->GetReferenceCount() == 1, "only the holder is left");
        }
    } sLeaver{distributor, client};
}

} // namespace

int main(int argumentCount, char** arguments)
{
    const char* const scenario = argumentCount > 1 ? arguments[1] : "";
    gLateQuestion.isAskedBefore = argumentCount > 2;
    gLateQuestion.isLibraryShared =
        argumentCount > 2 && std::strcmp(arguments[2], "before-library") == 0;
    if (std::strcmp(scenario, "DefaultManager") == 0) {
        LeaveADefaultManager();
    } else if (std::strcmp(scenario, "ParkedNotifications") == 0) {
        LeaveParkedNotifications();
    } else if (std::strcmp(scenario, "StaticObject") == 0) {
        LeaveObjectsInAStaticObject();
    } else if (std::strcmp(scenario, "ConstantPointer") == 0) {
        LeaveACenterInAConstantPointer();
    } else if (std::strcmp(scenario, "ListedDistributor") == 0) {
        LeaveAListedDistributor();
    } else {
        Require(false, "the scenario is known");
    }
    return 0;
}
