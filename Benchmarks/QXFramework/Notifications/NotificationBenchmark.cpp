// NotificationBenchmark.cpp - do notifications cost less than those of Poco and boost::signals2?
//
// Each benchmark is named QUESTION/SIZE/LIBRARY.
//
// "PostAndDeliver" makes, posts and delivers notifications to one client in rounds of SIZE, on one
// thread. "Broadcast" calls SIZE clients with one ready notification. "Posters" lets SIZE threads
// post while the measuring thread delivers; one iteration is one notification. Poco's queue has no
// clients of its own, so its deliverer hands each notification to a NotificationCenter, as its
// users do. A deque of pointers under a mutex shows how fast such a queue can be.
//
// "KnownName" interns a name that is in the table of SIZE names, "NewName" one that is not; both
// beside GLib's quarks. Neither table ever shrinks: "NewName" adds 20000 names to SIZE, and SIZE is
// the size only for the first benchmark of that library in the process. Filter for one at a time.
//
// The process has started a thread before anything is measured. Until then the C library's locks,
// its heap and the standard library's counts do without atomic operations, and what a queue between
// threads costs would depend on the order of the benchmarks.

#include <QX/QX.h>

#include <Poco/NObserver.h>
#include <Poco/Notification.h>
#include <Poco/NotificationCenter.h>
#include <Poco/NotificationQueue.h>
#include <benchmark/benchmark.h>
#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal.hpp>
#include <boost/signals2/signal_type.hpp>
#include <glib.h>

#include <atomic>
#include <deque>
#include <iostream>
#include <memory>
#include <mutex>
#include <semaphore>
#include <string>
#include <thread>
#include <vector>

namespace {

using QX::LNotification;
using QX::LNotificationCenter;
using QX::LNotificationClient;
using QX::LNotificationDistributor;
using QX::RCPtr;

constexpr const char* kName = "benchmark.notification";
/// How far posters may run ahead of the deliverer.
constexpr std::ptrdiff_t kWindow = 200;

// --- The product

class LCounter : public QX::LNotificationReceiver
{
public:
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

class Product
{
public:
    explicit Product(bool isReuseEnabled, int clients = 1)
    {
        LNotification::SetNotificationReuseEnable(isReuseEnabled);
        for (int number = 0; number < clients; ++number)
            mCenter->RegisterNotificationClient(RCPtr<LNotificationClient>(new LCounter), kName, 0);
        mID = LNotification::GetNotificationID(kName);
    }
    ~Product()
    {
        mCenter = nullptr;
        LNotification::SetNotificationReuseEnable(false);
    }
    void Post() { mCenter->PostForBroadcast(LNotification::Create(mID, nullptr)); }
    void Deliver() { mCenter->DeliverPendingNotifications(false); }
    void Broadcast(const RCPtr<LNotification>& notification)
    {
        mCenter->DeliverNotificationAllClients(notification);
    }
    void Register(const RCPtr<LNotificationClient>& client)
    {
        mCenter->RegisterNotificationClient(client, kName, 0);
    }

private:
    RCPtr<LNotificationCenter> mCenter = LNotificationCenter::Create("benchmark");
    const char* mID;
};

// --- Poco

class PocoMessage : public Poco::Notification
{};

struct PocoClient
{
    void Handle(const Poco::AutoPtr<PocoMessage>&) { ++count; }
    long count = 0;
};

class PocoPeer
{
public:
    explicit PocoPeer(int clients = 1)
        : mClients(static_cast<std::size_t>(clients))
    {
        for (PocoClient& client : mClients)
            mCenter.addObserver(
                Poco::NObserver<PocoClient, PocoMessage>(client, &PocoClient::Handle));
    }
    void Post() { mQueue.enqueueNotification(new PocoMessage); }
    bool DeliverOne()
    {
        const Poco::AutoPtr<Poco::Notification> notification(mQueue.dequeueNotification());
        if (!notification)
            return false;
        mCenter.postNotification(notification);
        return true;
    }
    void Broadcast(const Poco::Notification::Ptr& notification)
    {
        mCenter.postNotification(notification);
    }

private:
    Poco::NotificationCenter mCenter;
    Poco::NotificationQueue mQueue;
    std::vector<PocoClient> mClients;
};

// --- The limit: a locked deque and a virtual call

class LockedDeque
{
public:
    void Post()
    {
        auto message = std::make_shared<int>(1);
        const std::lock_guard lock(mMutex);
        mPending.push_back(std::move(message));
    }
    bool DeliverOne()
    {
        std::shared_ptr<int> message;
        {
            const std::lock_guard lock(mMutex);
            if (mPending.empty())
                return false;
            message = std::move(mPending.front());
            mPending.pop_front();
        }
        mCount += *message;
        benchmark::DoNotOptimize(mCount);
        return true;
    }

private:
    std::mutex mMutex;
    std::deque<std::shared_ptr<int>> mPending;
    long mCount = 0;
};

// --- Post and deliver on one thread

void PostAndDeliverProduct(benchmark::State& state, bool isReuseEnabled)
{
    Product product(isReuseEnabled);
    for (auto _ : state) {
        for (int64_t number = 0; number < state.range(0); ++number)
            product.Post();
        product.Deliver();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Peer>
void PostAndDeliverPeer(benchmark::State& state)
{
    Peer peer;
    for (auto _ : state) {
        for (int64_t number = 0; number < state.range(0); ++number)
            peer.Post();
        while (peer.DeliverOne()) {
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// --- Synchronous broadcast

void BroadcastProduct(benchmark::State& state)
{
    Product product(false, static_cast<int>(state.range(0)));
    const auto notification = LNotification::Create(kName, nullptr);
    for (auto _ : state)
        product.Broadcast(notification);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BroadcastPoco(benchmark::State& state)
{
    PocoPeer peer(static_cast<int>(state.range(0)));
    const Poco::Notification::Ptr notification(new PocoMessage);
    for (auto _ : state)
        peer.Broadcast(notification);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Mutex>
void BroadcastSignals(benchmark::State& state)
{
    namespace signals = boost::signals2;
    using Type = typename signals::signal_type<void(const std::shared_ptr<int>&),
                                               signals::keywords::mutex_type<Mutex>>::type;
    Type signal;
    std::vector<long> counts(static_cast<std::size_t>(state.range(0)));
    for (long& count : counts)
        signal.connect([&count](const std::shared_ptr<int>&) { ++count; });
    const auto message = std::make_shared<int>(1);
    for (auto _ : state)
        signal(message);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// --- Several posters, one deliverer

template <class Peer, class Deliver>
void RunPosters(benchmark::State& state, Peer& peer, const Deliver& deliver)
{
    std::counting_semaphore<> room(kWindow);
    std::atomic<bool> isStopping = false;
    std::vector<std::jthread> posters;
    for (int64_t number = 0; number < state.range(0); ++number) {
        posters.emplace_back([&] {
            while (!isStopping.load(std::memory_order_relaxed)) {
                room.acquire();
                peer.Post();
            }
        });
    }
    int64_t delivered = 0;
    for (auto _ : state) {
        while (delivered == 0) {
            delivered = deliver();
            room.release(delivered);
        }
        --delivered;
    }
    isStopping = true;
    room.release(state.range(0));
    posters.clear();
    while (deliver() != 0) {
    }
    state.SetItemsProcessed(state.iterations());
}

void PostersProduct(benchmark::State& state, bool isReuseEnabled)
{
    Product product(isReuseEnabled, 0);
    const RCPtr<LCounter> counter(new LCounter);
    product.Register(counter);
    RunPosters(state, product, [&product, &counter] {
        const long before = counter->count;
        product.Deliver();
        return counter->count - before;
    });
}

template <class Peer>
void PostersPeer(benchmark::State& state)
{
    Peer peer;
    RunPosters(state, peer, [&peer] { return peer.DeliverOne() ? 1 : 0; });
}

// --- Names

std::string NameNumber(int64_t number)
{
    return "org.qxaudio.notification." + std::to_string(number);
}

int64_t gNameCount = 0;

// Both tables grow together and never shrink.
void FillTables(int64_t count)
{
    for (; gNameCount < count; ++gNameCount) {
        const std::string name = NameNumber(gNameCount);
        LNotification::GetNotificationID(name.c_str());
        g_quark_from_string(name.c_str());
    }
}

template <class Intern>
void KnownName(benchmark::State& state, const Intern& intern)
{
    FillTables(state.range(0));
    std::vector<std::string> names;
    for (int64_t number = 0; number < 64; ++number)
        names.push_back(NameNumber(number * state.range(0) / 64));
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(intern(names[next].c_str()));
        next = (next + 1) % names.size();
    }
}

template <class Intern>
void NewName(benchmark::State& state, const char* prefix, const Intern& intern)
{
    FillTables(state.range(0));
    static int64_t sSuffix = 0;
    std::vector<std::string> names;
    for (int64_t number = 0; number < state.max_iterations; ++number)
        names.push_back(prefix + std::to_string(sSuffix++));
    std::size_t next = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(intern(names[next++].c_str()));
}

const auto kInternProduct = [](const char* name) { return LNotification::GetNotificationID(name); };
const auto kInternGlib = [](const char* name) { return g_quark_from_string(name); };

void RegisterAll()
{
    using benchmark::RegisterBenchmark;
    for (const int64_t size : {1, 100}) {
        const std::string prefix = "PostAndDeliver/" + std::to_string(size);
        RegisterBenchmark((prefix + "/product").c_str(), PostAndDeliverProduct, false)->Arg(size);
        RegisterBenchmark((prefix + "/product-reuse").c_str(), PostAndDeliverProduct, true)
            ->Arg(size);
        RegisterBenchmark((prefix + "/poco").c_str(), PostAndDeliverPeer<PocoPeer>)->Arg(size);
        RegisterBenchmark((prefix + "/locked-deque").c_str(), PostAndDeliverPeer<LockedDeque>)
            ->Arg(size);
    }
    for (const int64_t size : {1, 8, 64}) {
        const std::string prefix = "Broadcast/" + std::to_string(size);
        RegisterBenchmark((prefix + "/product").c_str(), BroadcastProduct)->Arg(size);
        RegisterBenchmark((prefix + "/poco").c_str(), BroadcastPoco)->Arg(size);
        RegisterBenchmark((prefix + "/signals2").c_str(), BroadcastSignals<boost::signals2::mutex>)
            ->Arg(size);
        RegisterBenchmark((prefix + "/signals2-unlocked").c_str(),
                          BroadcastSignals<boost::signals2::dummy_mutex>)
            ->Arg(size);
    }
    for (const int64_t size : {1, 2}) {
        const std::string prefix = "Posters/" + std::to_string(size);
        RegisterBenchmark((prefix + "/product").c_str(), PostersProduct, false)
            ->Arg(size)
            ->UseRealTime();
        RegisterBenchmark((prefix + "/product-reuse").c_str(), PostersProduct, true)
            ->Arg(size)
            ->UseRealTime();
        RegisterBenchmark((prefix + "/poco").c_str(), PostersPeer<PocoPeer>)
            ->Arg(size)
            ->UseRealTime();
        RegisterBenchmark((prefix + "/locked-deque").c_str(), PostersPeer<LockedDeque>)
            ->Arg(size)
            ->UseRealTime();
    }
    for (const int64_t size : {100, 10000, 100000}) {
        const std::string known = "KnownName/" + std::to_string(size);
        RegisterBenchmark((known + "/product").c_str(), KnownName<decltype(kInternProduct)>,
                          kInternProduct)
            ->Arg(size);
        RegisterBenchmark((known + "/glib").c_str(), KnownName<decltype(kInternGlib)>, kInternGlib)
            ->Arg(size);
        const std::string fresh = "NewName/" + std::to_string(size);
        RegisterBenchmark((fresh + "/product").c_str(), NewName<decltype(kInternProduct)>,
                          "product.", kInternProduct)
            ->Arg(size)
            ->Iterations(20000);
        RegisterBenchmark((fresh + "/glib").c_str(), NewName<decltype(kInternGlib)>, "glib.",
                          kInternGlib)
            ->Arg(size)
            ->Iterations(20000);
    }
}

} // namespace

int main(int argumentCount, char** arguments)
{
    std::thread([] {}).join(); // see the top of the file
    RegisterAll();
    benchmark::Initialize(&argumentCount, arguments);
    if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
