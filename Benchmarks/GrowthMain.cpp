// GrowthMain.cpp - how does the time of one operation grow with the number of elements?
//
// Each benchmark is named OPERATION/ORDER/N: with N elements there, the operation should take a
// time of that order, "1" for one that does not depend on N. scripts/bench makes the table. No
// client is registered beside more than 10,000 others: each registration looks at all clients of
// its name. The table of names never shrinks, so its rows run from the smallest N to the largest.

#include "Rows.h"

#include <QX/QX.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace rows {
namespace {

using QX::LNotification;
using QX::LNotificationCenter;
using QX::LNotificationClient;
using QX::LNotificationDistributor;
using QX::RCPtr;
using QX::String;
using QX::uint32;

struct Item : virtual QX::LRefCountedObject
{};

class LSilent : public QX::LNotificationReceiver
{
public:
    void HandleNotification(const RCPtr<LNotificationDistributor>&,
                            const QX::ConstRCPtr<LNotification>&) override
    {
        ++count;
    }
    QX::int32 ForceUnregisterNotification(const RCPtr<LNotificationDistributor>& distributor,
                                          const char*) override
    {
        return distributor->UnregisterNotificationClient(RCPtr<LNotificationClient>(this));
    }

    long count = 0;
};

/// Adds the benchmarks of an operation, which `make` returns for a number of elements.
template <class Make>
void Add(const std::string& operation, std::int64_t largest, Make make)
{
    for (std::int64_t count = 1; count <= largest; count *= 10) {
        AddRow(operation, std::to_string(count), 1,
               [count, make] { return make(static_cast<uint32>(count)); });
    }
}

std::string TextOf(uint32 length)
{
    return std::string(length, 'x');
}

void AddStrings()
{
    Add("copy a string/1", 1000000, [](uint32 count) {
        return [text = String(TextOf(count).c_str())] {
            const String copy(text);
            benchmark::DoNotOptimize(&copy);
        };
    });
    Add("compare equal strings/N", 1000000, [](uint32 count) {
        return [left = String(TextOf(count).c_str()), right = String(TextOf(count).c_str())] {
            bool areEqual = left == right;
            benchmark::DoNotOptimize(areEqual);
        };
    });
    Add("append to a copy of a string/N", 1000000, [](uint32 count) {
        return [text = String(TextOf(count).c_str())] {
            String copy(text);
            copy += 'x';
            benchmark::DoNotOptimize(&copy);
        };
    });
    Add("convert a string to UTF-16/N", 1000000, [](uint32 count) {
        return [text = String(TextOf(count).c_str())] {
            const QX::String16 wide(text);
            benchmark::DoNotOptimize(&wide);
        };
    });
}

template <class Array>
std::shared_ptr<Array> FilledArray(uint32 count)
{
    auto array = std::make_shared<Array>();
    array->SetCount(count);
    return array;
}

template <class Array>
void AddArray(const std::string& name)
{
    Add("append to and remove from " + name + "/1", 1000000, [](uint32 count) {
        return [array = FilledArray<Array>(count), item = RCPtr<Item>(new Item)] {
            array->AppendItem(item);
            RCPtr<Item> removed;
            array->RemoveLast(removed);
        };
    });
    Add("insert in front of and remove from " + name + "/N", 1000000, [](uint32 count) {
        return [array = FilledArray<Array>(count), item = RCPtr<Item>(new Item)] {
            array->InsertItem(0, item);
            RCPtr<Item> removed;
            array->RemoveItem(0, removed);
        };
    });
}

void AddRing()
{
    using Ring = QX::RCPtrQueue<Item, 256>;
    Add("enqueue and dequeue/1", 1000000, [](uint32 count) {
        auto mutex = std::make_shared<QX::Mutex>();
        auto ring = std::make_shared<Ring>(mutex.get(), count + 2);
        const RCPtr<Item> item(new Item);
        for (uint32 index = 0; index < count; ++index) {
            ring->Enqueue(item);
        }
        return [mutex, ring, item] {
            ring->Enqueue(item);
            RCPtr<Item> taken;
            ring->TryDequeue(taken);
        };
    });
}

std::string NameNumber(uint32 number)
{
    return "org.qxaudio.growth." + std::to_string(number);
}

void FillNames(uint32 count)
{
    static uint32 sCount = 0;
    for (; sCount < count; ++sCount) {
        LNotification::GetNotificationID(NameNumber(sCount).c_str());
    }
}

void AddNames()
{
    Add("find a known name/1", 1000000, [](uint32 count) {
        FillNames(count);
        return [name = NameNumber(count / 2)] {
            benchmark::DoNotOptimize(LNotification::GetNotificationID(name.c_str()));
        };
    });
}

RCPtr<LNotificationCenter> CenterWith(uint32 clients, const std::string& name)
{
    RCPtr<LNotificationCenter> center = LNotificationCenter::Create("growth");
    for (uint32 number = 0; number < clients; ++number) {
        center->RegisterNotificationClient(RCPtr<LNotificationClient>(new LSilent), name.c_str(),
                                           0);
    }
    return center;
}

void AddClients()
{
    Add("register and unregister a client/N", 10000, [](uint32 count) {
        return [center = CenterWith(count, "growth"),
                client = RCPtr<LNotificationClient>(new LSilent)] {
            center->RegisterNotificationClient(client, "growth", 0);
            center->UnregisterNotificationClient(client, "growth");
        };
    });
    Add("broadcast to all clients/N", 10000, [](uint32 count) {
        return [center = CenterWith(count, "growth"),
                message = LNotification::Create("growth", nullptr)] {
            center->DeliverNotificationAllClients(message);
        };
    });
    Add("broadcast to one of the names of a center/N", 10000, [](uint32 count) {
        const RCPtr<LNotificationClient> client(new LSilent);
        RCPtr<LNotificationCenter> center = LNotificationCenter::Create("growth");
        for (uint32 number = 0; number < count; ++number) {
            center->RegisterNotificationClient(client, NameNumber(number).c_str(), 0);
        }
        return [center, message = LNotification::Create(NameNumber(0).c_str(), nullptr)] {
            center->DeliverNotificationAllClients(message);
        };
    });
}

void AddPosters()
{
    // Each poster sends rounds of 100 and waits for their delivery; the time is that of one.
    for (const int threads : {1, 10, 100}) {
        benchmark::RegisterBenchmark(
            ("post from N threads and deliver/1/" + std::to_string(threads)).c_str(),
            [threads](benchmark::State& state) {
                constexpr long kRound = 100;
                const RCPtr<LSilent> client(new LSilent);
                const RCPtr<LNotificationCenter> center = LNotificationCenter::Create("growth");
                center->RegisterNotificationClient(client, "growth", 0);
                for (auto _ : state) {
                    const long expected = client->count + kRound * threads;
                    std::vector<std::jthread> posters;
                    for (int number = 0; number < threads; ++number) {
                        posters.emplace_back([&center] {
                            for (long post = 0; post < kRound; ++post) {
                                center->PostForBroadcast(LNotification::Create("growth", nullptr));
                            }
                        });
                    }
                    while (client->count < expected) {
                        center->DeliverPendingNotifications(false);
                    }
                }
                state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * threads *
                                        kRound);
            })
            ->UseRealTime();
    }
}

} // namespace
} // namespace rows

int main(int argumentCount, char** arguments)
{
    const rows::SecondThread second;
    rows::AddStrings();
    rows::AddArray<QX::RCPtrArray<rows::Item, 256, 256>>("an array <256, 256>");
    rows::AddArray<QX::RCPtrArray<rows::Item, 1, 0>>("an array <1, 0>");
    rows::AddRing();
    rows::AddNames();
    rows::AddClients();
    rows::AddPosters();
    benchmark::Initialize(&argumentCount, arguments);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
