// QueueRows.cpp - what do posting and delivering cost beside Poco, GLib and a locked deque?
//
// "post.new" makes, posts and delivers notifications in rounds of 256, "post.one" one at a time,
// and "post.ready" posts and delivers one that exists. "posters" lets N threads post while the
// measuring thread delivers. Poco's queue has no clients of its own, so its deliverer hands each
// notification to a NotificationCenter; the others call a function. boost::signals2 has no queue:
// its "post.one" makes a message and broadcasts it.

#include "Rows.h"

#include <QX/QX.h>

#include <boost/signals2/signal.hpp>
#include <glib.h>

#ifdef QX_PEER_POCO
#include <Poco/NObserver.h>
#include <Poco/Notification.h>
#include <Poco/NotificationCenter.h>
#include <Poco/NotificationQueue.h>
#endif

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <semaphore>
#include <string>
#include <thread>
#include <vector>

namespace rows {
namespace {

using QX::LNotification;
using QX::LNotificationClient;
using QX::LNotificationDistributor;
using QX::RCPtr;

constexpr const char* kName = "benchmark.post";
constexpr int kBatch = 256;
/// How far posters may run ahead of the deliverer.
constexpr std::ptrdiff_t kWindow = 200;

// Each peer posts a new or a ready message and delivers all that is pending; Deliver returns how
// many there were.

class Product
{
public:
    Product() { mCenter->RegisterNotificationClient(mCounter, kName, 0); }
    void PostNew() { mCenter->PostForBroadcast(LNotification::Create(mID, nullptr)); }
    void PostReady() { mCenter->PostForBroadcast(mReady); }
    long Deliver()
    {
        const long before = mCounter->count;
        mCenter->DeliverPendingNotifications(false);
        return mCounter->count - before;
    }

private:
    struct LCounter : QX::LNotificationReceiver
    {
        void HandleNotification(const RCPtr<LNotificationDistributor>&,
                                const QX::ConstRCPtr<LNotification>&) override
        {
            ++count;
        }
        QX::int32 ForceUnregisterNotification(const RCPtr<LNotificationDistributor>& distributor,
                                              const char* id) override
        {
            return distributor->UnregisterNotificationClient(RCPtr<LNotificationClient>(this), id);
        }
        long count = 0;
    };

    RCPtr<LCounter> mCounter{new LCounter};
    RCPtr<QX::LNotificationCenter> mCenter = QX::LNotificationCenter::Create("benchmark");
    const char* mID = LNotification::GetNotificationID(kName);
    RCPtr<LNotification> mReady = LNotification::Create(kName, nullptr);
};

#ifdef QX_PEER_POCO
class PocoPeer
{
public:
    PocoPeer()
    {
        mCenter.addObserver(Poco::NObserver<PocoPeer, Message>(*this, &PocoPeer::Handle));
    }
    void PostNew() { mQueue.enqueueNotification(new Message); }
    void PostReady() { mQueue.enqueueNotification(mReady); }
    long Deliver()
    {
        const long before = mCount;
        while (true) {
            const Poco::Notification::Ptr message(mQueue.dequeueNotification());
            if (!message) {
                return mCount - before;
            }
            mCenter.postNotification(message);
        }
    }

private:
    struct Message : Poco::Notification
    {};
    void Handle(const Poco::AutoPtr<Message>&) { ++mCount; }

    Poco::NotificationCenter mCenter;
    Poco::NotificationQueue mQueue;
    Poco::Notification::Ptr mReady{new Message};
    long mCount = 0;
};
#endif

class GLibPeer
{
public:
    GLibPeer() = default;
    GLibPeer(const GLibPeer&) = delete;
    GLibPeer& operator=(const GLibPeer&) = delete;
    ~GLibPeer() { g_async_queue_unref(mQueue); }

    void PostNew() { g_async_queue_push(mQueue, g_atomic_rc_box_new(int)); }
    void PostReady()
    {
        g_atomic_rc_box_acquire(mReady);
        g_async_queue_push(mQueue, mReady);
    }
    long Deliver()
    {
        long count = 0;
        while (void* const message = g_async_queue_try_pop(mQueue)) {
            benchmark::DoNotOptimize(message);
            g_atomic_rc_box_release(message);
            ++count;
        }
        return count;
    }

private:
    GAsyncQueue* mQueue = g_async_queue_new();
    int* mReady = g_atomic_rc_box_new(int); ///< lives until the process ends
};

class LockedDeque
{
public:
    void PostNew() { Post(std::make_shared<int>(1)); }
    void PostReady() { Post(mReady); }
    long Deliver()
    {
        long count = 0;
        std::shared_ptr<int> message;
        while (Take(message)) {
            benchmark::DoNotOptimize(message);
            ++count;
        }
        return count;
    }

private:
    void Post(std::shared_ptr<int> message)
    {
        const std::lock_guard lock(mMutex);
        mPending.push_back(std::move(message));
    }
    bool Take(std::shared_ptr<int>& message)
    {
        const std::lock_guard lock(mMutex);
        if (mPending.empty()) {
            return false;
        }
        message = std::move(mPending.front());
        mPending.pop_front();
        return true;
    }

    std::mutex mMutex;
    std::deque<std::shared_ptr<int>> mPending;
    std::shared_ptr<int> mReady = std::make_shared<int>(1);
};

template <class Peer>
void RunPosters(benchmark::State& state, int threads)
{
    Peer peer;
    std::counting_semaphore<> room(kWindow);
    std::atomic<bool> isStopping = false;
    std::vector<std::jthread> posters;
    for (int number = 0; number < threads; ++number) {
        posters.emplace_back([&] {
            while (!isStopping.load(std::memory_order_relaxed)) {
                room.acquire();
                peer.PostNew();
            }
        });
    }
    long delivered = 0;
    for (auto _ : state) {
        while (delivered == 0) {
            delivered = peer.Deliver();
            room.release(delivered);
        }
        --delivered;
    }
    isStopping = true;
    room.release(threads);
    posters.clear();
    peer.Deliver();
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

template <class Peer>
void AddAll(const std::string& library)
{
    AddRow("post.new", library, kBatch, [] {
        return [peer = std::make_shared<Peer>()] {
            for (int number = 0; number < kBatch; ++number) {
                peer->PostNew();
            }
            benchmark::DoNotOptimize(peer->Deliver());
        };
    });
    AddRow("post.one", library, 1, [] {
        return [peer = std::make_shared<Peer>()] {
            peer->PostNew();
            benchmark::DoNotOptimize(peer->Deliver());
        };
    });
    AddRow("post.ready", library, 1, [] {
        return [peer = std::make_shared<Peer>()] {
            peer->PostReady();
            benchmark::DoNotOptimize(peer->Deliver());
        };
    });
    for (const int threads : {1, 2}) {
        benchmark::RegisterBenchmark(
            ("posters." + std::to_string(threads) + '/' + library).c_str(),
            [threads](benchmark::State& state) { RunPosters<Peer>(state, threads); })
            ->UseRealTime();
    }
}

} // namespace

void AddQueueRows()
{
    AddAll<Product>("QX");
    AddAll<GLibPeer>("GLib");
    AddAll<LockedDeque>("locked-deque");
#ifdef QX_PEER_POCO
    AddAll<PocoPeer>("Poco");
#endif
    AddRow("post.one", "signals2", 1, [] {
        using Signal = boost::signals2::signal<void(const std::shared_ptr<int>&)>;
        auto signal = std::make_shared<Signal>();
        signal->connect([count = 0L](const std::shared_ptr<int>&) mutable {
            benchmark::DoNotOptimize(++count);
        });
        return [signal] { (*signal)(std::make_shared<int>(1)); };
    });
}

} // namespace rows
