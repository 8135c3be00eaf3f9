// DeliveryLoop.cpp - two threads that post, one that delivers, and a clean stop.
//
// Docs/Notifications.md explains it part by part.

#include <QX/QX.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>

namespace {

using QX::LNotification;
using QX::LNotificationCenter;
using QX::RCPtr;

constexpr const char* kLevelChanged = "level.changed";

/// What a poster sends. A payload may be any counted object.
class LLevel : public QX::LRefCountedObject
{
public:
    LLevel(std::size_t source, int value)
        : mSource(source)
        , mValue(value)
    {}
    std::size_t GetSource() const { return mSource; }
    int GetValue() const { return mValue; }

private:
    const std::size_t mSource;
    const int mValue;
};

/// Lets one thread wait for the posts of others.
class DeliveryLoop
{
public:
    explicit DeliveryLoop(const RCPtr<LNotificationCenter>& center)
        : mCenter(center)
    {}

    /// Posts and wakes the delivering thread. Threads: any.
    QX::int32 Post(const RCPtr<LNotification>& notification)
    {
        const QX::int32 result = mCenter->PostForBroadcast(notification);
        const std::lock_guard lock(mMutex);
        mHasWork = true;
        mWake.notify_one();
        return result;
    }

    /// Makes Run return when it has delivered what is pending. Threads: any.
    void Stop()
    {
        const std::lock_guard lock(mMutex);
        mIsStopping = true;
        mWake.notify_one();
    }

    /// Delivers until Stop. All clients run on the calling thread, and in idle moments they get
    /// the idle notification.
    void Run()
    {
        bool isPending = false;
        for (;;) {
            bool isStopping = false;
            {
                std::unique_lock lock(mMutex);
                if (!isPending) {
                    mWake.wait_for(lock, std::chrono::milliseconds(100),
                                   [this] { return mHasWork || mIsStopping; });
                }
                mHasWork = false;
                isStopping = mIsStopping;
            }
            // No lock is held here: clients may post through this loop.
            isPending = mCenter->DeliverPendingNotifications(true);
            if (isStopping && !isPending) {
                return;
            }
        }
    }

private:
    const RCPtr<LNotificationCenter> mCenter;
    std::mutex mMutex;
    std::condition_variable mWake;
    bool mHasWork = false;    ///< under mMutex
    bool mIsStopping = false; ///< under mMutex
};

void PostLevels(DeliveryLoop& loop, std::size_t source)
{
    for (int value = 0; value < 1000; ++value) {
        const RCPtr<QX::LRefCountedObject> level(new LLevel(source, value));
        loop.Post(LNotification::Create(kLevelChanged, level));
    }
}

} // namespace

int main()
{
    // Reuse saves an allocation for each notification. It does not always save time.
    LNotification::SetNotificationReuseEnable(true);
    const RCPtr<LNotificationCenter> center = LNotificationCenter::Create("levels");

    // Clients register before any thread posts, on the thread that will deliver.
    int count = 0;
    std::array<int, 2> last = {-1, -1};
    const auto meter = QX::LFunctionReceiver::Create([&](const auto&, const auto& notification) {
        if (const auto level = RCPtr<LLevel>::Downcast(notification->GetData())) {
            ++count;
            last[level->GetSource()] = level->GetValue();
        }
    });
    center->RegisterNotificationClient(meter, kLevelChanged, 0);

    DeliveryLoop loop(center);
    std::thread stopper([&loop] {
        std::thread left([&loop] { PostLevels(loop, 0); });
        std::thread right([&loop] { PostLevels(loop, 1); });
        // The loop ends after the posters, so it delivers all that they have posted.
        left.join();
        right.join();
        loop.Stop();
    });
    loop.Run();
    stopper.join();

    // The client unregisters on the delivering thread. Without this call, the center would ask it
    // to do so when the center's last holder lets go.
    center->UnregisterNotificationClient(meter);
    LNotification::SetNotificationReuseEnable(false);

    std::printf("%d levels, the last one of each source was %d and %d\n", count, last[0], last[1]);
    return count == 2000 && last[0] == 999 && last[1] == 999 ? 0 : 1;
}
