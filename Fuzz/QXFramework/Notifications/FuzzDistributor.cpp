// FuzzDistributor.cpp - arbitrary sequences of registrations and deliveries, beside a list model.
//
// Each byte is one operation: what to do, with which client, for which name. A client that is
// served takes the next bytes as its own operations, up to a depth. The model keeps a list of
// clients for each name and the position of each walk that is running; the journals of both have to
// agree.

#include <QX/NotificationDistributor.h>

#include "FuzzCheck.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace {

using QX::LNotification;
using QX::LNotificationClient;
using QX::LNotificationDistributor;
using QX::RCPtr;
using QX::uint32;

constexpr std::size_t kClients = 4;
constexpr std::size_t kNames = 2;
constexpr const char* kNameTexts[kNames] = {"first", "second"};
constexpr int kMaxDepth = 4;

/// The operations of an input, one after the other.
struct Input
{
    const uint8_t* data;
    std::size_t left;

    bool Take(uint8_t& operation)
    {
        if (left == 0)
            return false;
        operation = *data++;
        --left;
        return true;
    }
};

/// What the distributor should do, with lists of numbers.
class Model
{
public:
    struct Registration
    {
        std::size_t client;
        uint32 flags;
    };

    int Register(std::size_t client, std::size_t name, uint32 flags)
    {
        for (Registration& one : mLists[name]) {
            if (one.client == client) {
                one.flags = flags;
                return QX::kResultNothingDone;
            }
        }
        mLists[name].push_back({client, flags});
        return QX::kResultSuccess;
    }
    int Unregister(std::size_t client, std::size_t name)
    {
        auto& list = mLists[name];
        for (std::size_t index = 0; index < list.size(); ++index) {
            if (list[index].client == client) {
                list.erase(list.begin() + static_cast<std::ptrdiff_t>(index));
                for (std::size_t* const walk : mWalks[name])
                    *walk -= index < *walk ? 1 : 0;
                return QX::kResultSuccess;
            }
        }
        return QX::kResultNothingDone;
    }
    template <class Serve>
    void Walk(std::size_t name, const Serve& serve)
    {
        for (std::size_t next = mLists[name].size(); next > 0;) {
            std::size_t index = next - 1;
            mWalks[name].push_back(&index);
            serve(mLists[name][index].client);
            mWalks[name].pop_back();
            next = index;
        }
    }
    const std::vector<Registration>& GetList(std::size_t name) const { return mLists[name]; }

private:
    std::array<std::vector<Registration>, kNames> mLists;
    std::array<std::vector<std::size_t*>, kNames> mWalks;
};

class Run;

class LFuzzClient : public QX::LNotificationReceiver
{
public:
    LFuzzClient(Run& run, std::size_t number)
        : mRun(run)
        , mNumber(number)
    {}
    void HandleNotification(const RCPtr<LNotificationDistributor>&,
                            const QX::ConstRCPtr<LNotification>&) override;
    QX::int32 ForceUnregisterNotification(const RCPtr<LNotificationDistributor>&,
                                          const char*) override;

private:
    Run& mRun;
    const std::size_t mNumber;
};

/// One input, run on a distributor and on a model.
class Run
{
public:
    explicit Run(Input input)
        : mInput(input)
        , mModelInput(input)
    {
        for (std::size_t number = 0; number < kClients; ++number)
            mClients[number] = RCPtr<LNotificationClient>(new LFuzzClient(*this, number));
    }

    void Execute()
    {
        // Each loop ends with the input; the model reads the same bytes in the same order.
        while (StepModel()) {
        }
        while (Step()) {
        }
        FUZZ_CHECK(mJournal == mExpected);
        CheckState();
        for (const auto& client : mClients)
            mDistributor->UnregisterNotificationClient(client);
        FUZZ_CHECK(mDistributor->GetContainedReferenceCount() == 0);
        FUZZ_CHECK(mDistributor->GetReferenceCount() == 1);
    }

    void Serve(std::size_t client, bool isForced)
    {
        mJournal += Letter(client, isForced);
        if (mDepth < kMaxDepth) {
            ++mDepth;
            Step();
            --mDepth;
        }
    }

private:
    static char Letter(std::size_t client, bool isForced)
    {
        return static_cast<char>((isForced ? 'A' : 'a') + static_cast<int>(client));
    }
    void Note(std::string& journal, int result) const { journal += std::to_string(result); }

    bool Step()
    {
        uint8_t operation = 0;
        if (!mInput.Take(operation))
            return false;
        const std::size_t client = (operation >> 2) % kClients;
        const std::size_t name = (operation >> 4) % kNames;
        const uint32 flags = (operation >> 5) & 6u;
        LNotificationDistributor& distributor = *mDistributor;
        switch (operation & 3u) {
        case 0:
            Note(mJournal,
                 distributor.RegisterNotificationClient(mClients[client], kNameTexts[name], flags));
            break;
        case 1:
            Note(mJournal,
                 distributor.UnregisterNotificationClient(mClients[client], kNameTexts[name]));
            break;
        case 2:
            if ((operation & 0x80u) != 0) {
                Note(mJournal, distributor.UnregisterNotificationClient(mClients[client]));
                break;
            }
            distributor.ForceAllRegisteredClientsToUnregister();
            break;
        default:
            distributor.DeliverNotificationAllClients(
                LNotification::Create(kNameTexts[name], nullptr));
        }
        return true;
    }

    bool StepModel()
    {
        uint8_t operation = 0;
        if (!mModelInput.Take(operation))
            return false;
        const std::size_t client = (operation >> 2) % kClients;
        const std::size_t name = (operation >> 4) % kNames;
        switch (operation & 3u) {
        case 0:
            NotePool(name);
            Note(mExpected, mModel.Register(client, name, (operation >> 5) & 6u));
            break;
        case 1:
            Note(mExpected, mModel.Unregister(client, name));
            break;
        case 2:
            if ((operation & 0x80u) != 0) {
                int removed = 0;
                for (std::size_t one = 0; one < kNames; ++one)
                    removed += mModel.Unregister(client, one) == QX::kResultSuccess ? 1 : 0;
                Note(mExpected, removed);
                break;
            }
            for (std::size_t pool = mPools.size(); pool > 0; --pool)
                mModel.Walk(mPools[pool - 1],
                            [this](std::size_t served) { ServeModel(served, true); });
            break;
        default:
            mModel.Walk(name, [this](std::size_t served) { ServeModel(served, false); });
        }
        return true;
    }

    // Pools stand in the order of their first registration.
    void NotePool(std::size_t name)
    {
        for (const std::size_t pool : mPools)
            if (pool == name)
                return;
        mPools.push_back(name);
    }

    void ServeModel(std::size_t client, bool isForced)
    {
        mExpected += Letter(client, isForced);
        if (mModelDepth < kMaxDepth) {
            ++mModelDepth;
            StepModel();
            --mModelDepth;
        }
    }

    void CheckState()
    {
        int registrations = 0;
        for (std::size_t name = 0; name < kNames; ++name) {
            for (const auto& one : mModel.GetList(name)) {
                uint32 flags = 0;
                FUZZ_CHECK(mDistributor->GetDeliveryFlags(mClients[one.client], kNameTexts[name],
                                                          flags) == QX::kResultSuccess);
                FUZZ_CHECK(flags == one.flags);
                ++registrations;
            }
        }
        const int contained = registrations + (registrations > 0 ? 1 : 0);
        FUZZ_CHECK(mDistributor->GetContainedReferenceCount() == contained);
        FUZZ_CHECK(mDistributor->GetReferenceCount() == contained + 1);
    }

    Input mInput;
    Input mModelInput;
    RCPtr<LNotificationDistributor> mDistributor = LNotificationDistributor::Create();
    std::array<RCPtr<LNotificationClient>, kClients> mClients;
    std::string mJournal;
    int mDepth = 0;
    Model mModel;
    std::vector<std::size_t> mPools;
    std::string mExpected;
    int mModelDepth = 0;
};

void LFuzzClient::HandleNotification(const RCPtr<LNotificationDistributor>&,
                                     const QX::ConstRCPtr<LNotification>&)
{
    mRun.Serve(mNumber, false);
}

QX::int32 LFuzzClient::ForceUnregisterNotification(const RCPtr<LNotificationDistributor>&,
                                                   const char*)
{
    mRun.Serve(mNumber, true);
    return QX::kResultSuccess;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Run run({data, size});
    run.Execute();
    return 0;
}
