// FuzzDistributor.cpp - arbitrary sequences of registrations and deliveries, beside a list model.
//
// Each byte is one operation: what to do, with which client, for which name. A client that is
// served takes the next bytes as its own operations, up to a depth. The model keeps a list of
// clients for each name and the position of each walk that is running; the journals of both have to
// agree.

#include <QX/NotificationDistributor.h>

#include "FuzzCheck.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
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

/// Is told which client is served, and whether it is asked to unregister.
using Served = std::function<void(std::size_t client, bool isForced)>;

/// What the distributor should do, with lists of numbers.
class Model
{
public:
    struct Registration
    {
        std::size_t client;
        uint32 flags;
    };

    explicit Model(Served served)
        : mServed(std::move(served))
    {}

    int Register(std::size_t client, std::size_t name, uint32 flags)
    {
        // Pools stand in the order of their first registration.
        if (std::find(mPools.begin(), mPools.end(), name) == mPools.end())
            mPools.push_back(name);
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
    int UnregisterAll(std::size_t client)
    {
        int removed = 0;
        for (std::size_t name = 0; name < kNames; ++name)
            removed += Unregister(client, name) == QX::kResultSuccess ? 1 : 0;
        return removed;
    }
    void Force()
    {
        for (std::size_t pool = mPools.size(); pool > 0; --pool)
            Walk(mPools[pool - 1], true);
    }
    void Deliver(std::size_t name) { Walk(name, false); }
    const std::vector<Registration>& GetList(std::size_t name) const { return mLists[name]; }

private:
    void Walk(std::size_t name, bool isForced)
    {
        for (std::size_t next = mLists[name].size(); next > 0;) {
            std::size_t index = next - 1;
            mWalks[name].push_back(&index);
            mServed(mLists[name][index].client, isForced);
            mWalks[name].pop_back();
            next = index;
        }
    }

    const Served mServed;
    std::vector<std::size_t> mPools;
    std::array<std::vector<Registration>, kNames> mLists;
    std::array<std::vector<std::size_t*>, kNames> mWalks;
};

class LFuzzClient : public QX::LNotificationReceiver
{
public:
    LFuzzClient(const Served& served, std::size_t number)
        : mServed(served)
        , mNumber(number)
    {}
    void HandleNotification(const RCPtr<LNotificationDistributor>&,
                            const QX::ConstRCPtr<LNotification>&) override
    {
        mServed(mNumber, false);
    }
    QX::int32 ForceUnregisterNotification(const RCPtr<LNotificationDistributor>&,
                                          const char*) override
    {
        mServed(mNumber, true);
        return QX::kResultSuccess;
    }

private:
    const Served& mServed;
    const std::size_t mNumber;
};

/// A distributor with the operations of the model.
class Real
{
public:
    explicit Real(Served served)
        : mServed(std::move(served))
    {
        for (std::size_t number = 0; number < kClients; ++number)
            mClients[number] = RCPtr<LNotificationClient>(new LFuzzClient(mServed, number));
    }

    int Register(std::size_t client, std::size_t name, uint32 flags)
    {
        return mDistributor->RegisterNotificationClient(mClients[client], kNameTexts[name], flags);
    }
    int Unregister(std::size_t client, std::size_t name)
    {
        return mDistributor->UnregisterNotificationClient(mClients[client], kNameTexts[name]);
    }
    int UnregisterAll(std::size_t client)
    {
        return mDistributor->UnregisterNotificationClient(mClients[client]);
    }
    void Force() { mDistributor->ForceAllRegisteredClientsToUnregister(); }
    void Deliver(std::size_t name)
    {
        mDistributor->DeliverNotificationAllClients(
            LNotification::Create(kNameTexts[name], nullptr));
    }

    /// Checks flags and counts, and ends all registrations.
    void CheckAgainst(const Model& model)
    {
        int registrations = 0;
        for (std::size_t name = 0; name < kNames; ++name) {
            for (const auto& one : model.GetList(name)) {
                uint32 flags = 0;
                FUZZ_CHECK(mDistributor->GetDeliveryFlags(mClients[one.client], kNameTexts[name],
                                                          flags) == QX::kResultSuccess);
                FUZZ_CHECK(flags == one.flags);
                ++registrations;
            }
        }
        CheckCounts(registrations + (registrations > 0 ? 1 : 0));
        for (std::size_t client = 0; client < kClients; ++client)
            UnregisterAll(client);
        CheckCounts(0);
    }

private:
    void CheckCounts(int contained) const
    {
        FUZZ_CHECK(mDistributor->GetContainedReferenceCount() == contained);
        FUZZ_CHECK(mDistributor->GetReferenceCount() == contained + 1);
    }

    const Served mServed;
    RCPtr<LNotificationDistributor> mDistributor = LNotificationDistributor::Create();
    std::array<RCPtr<LNotificationClient>, kClients> mClients;
};

/// Does the operations of an input on a Model or a Real, and writes down what comes of them.
template <class Side>
class Player
{
public:
    explicit Player(Input input)
        : mInput(input)
        , mSide([this](std::size_t client, bool isForced) { Serve(client, isForced); })
    {
        while (Step()) {
        }
    }

    const std::string& GetJournal() const { return mJournal; }
    Side& GetSide() { return mSide; }

private:
    bool Step()
    {
        uint8_t operation = 0;
        if (!mInput.Take(operation))
            return false;
        const std::size_t client = (operation >> 2) % kClients;
        const std::size_t name = (operation >> 4) % kNames;
        switch (operation & 3u) {
        case 0:
            mJournal += std::to_string(mSide.Register(client, name, (operation >> 5) & 6u));
            break;
        case 1:
            mJournal += std::to_string(mSide.Unregister(client, name));
            break;
        case 2:
            if ((operation & 0x80u) != 0)
                mJournal += std::to_string(mSide.UnregisterAll(client));
            else
                mSide.Force();
            break;
        default:
            mSide.Deliver(name);
        }
        return true;
    }

    void Serve(std::size_t client, bool isForced)
    {
        mJournal += static_cast<char>((isForced ? 'A' : 'a') + static_cast<int>(client));
        if (mDepth < kMaxDepth) {
            ++mDepth;
            Step();
            --mDepth;
        }
    }

    Input mInput;
    std::string mJournal;
    int mDepth = 0;
    Side mSide; // uses the others
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Player<Model> model({data, size});
    Player<Real> real({data, size});
    FUZZ_CHECK(real.GetJournal() == model.GetJournal());
    real.GetSide().CheckAgainst(model.GetSide());
    return 0;
}
