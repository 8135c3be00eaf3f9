// ArrayBenchmark.cpp - do the smart-pointer arrays fill faster than a vector of boost's pointers?
//
// Each benchmark is named OPERATION/CONTAINER/COUNT and fills an empty container with COUNT
// references to objects that exist, at its end or at its front, or drops as many. "array<1,0>"
// grows by one slot at a time, "array<256,256>" by 256. "vector-of-items" holds the arrays' own
// objects, so that nothing but the container differs; "vector" holds objects that boost counts,
// without a virtual call. "memory" stores bare pointers into a reserved block and counts in plain
// atomic integers, the limit that no container passes.

#include <QX/RCPtrArray.h>

#include <benchmark/benchmark.h>
#include <boost/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace {

using QX::uint32;

struct Item : virtual QX::LRefCountedObject
{};

struct Peer : boost::intrusive_ref_counter<Peer, boost::thread_safe_counter>
{
    virtual ~Peer() = default;
};

constexpr uint32 kItems = 64;
constexpr uint32 kLargestCount = 16384;

// What boost's pointers call on a counted object; they find it by the argument's namespace.
void intrusive_ptr_add_ref(Item* item)
{
    item->AddReference();
}
void intrusive_ptr_release(Item* item)
{
    item->RemoveReference();
}

const std::vector<QX::RCPtr<Item>>& Items()
{
    static const std::vector<QX::RCPtr<Item>> sItems = [] {
        std::vector<QX::RCPtr<Item>> items;
        for (uint32 index = 0; index < kItems; ++index) {
            items.emplace_back(new Item);
        }
        return items;
    }();
    return sItems;
}

const std::vector<boost::intrusive_ptr<Peer>>& Peers()
{
    static const std::vector<boost::intrusive_ptr<Peer>> sPeers = [] {
        std::vector<boost::intrusive_ptr<Peer>> peers;
        for (uint32 index = 0; index < kItems; ++index) {
            peers.emplace_back(new Peer);
        }
        return peers;
    }();
    return sPeers;
}

[[noreturn]] void Fail(const char* what)
{
    std::cerr << "ArrayBenchmark: " << what << '\n';
    std::abort();
}

template <uint32 Grow, uint32 Init>
struct OurArray
{
    using Container = QX::RCPtrArray<Item, Grow, Init>;

    static const auto& Source() { return Items(); }
    static void Append(Container& array, const QX::RCPtr<Item>& item) { array.AppendItem(item); }
    static void InsertFront(Container& array, const QX::RCPtr<Item>& item)
    {
        array.InsertItem(0, item);
    }
    static uint32 Count(const Container& array) { return array.GetCount(); }
};

// The same objects as in the arrays, so that nothing but the container differs.
const std::vector<boost::intrusive_ptr<Item>>& ItemPointers()
{
    static const std::vector<boost::intrusive_ptr<Item>> sPointers = [] {
        std::vector<boost::intrusive_ptr<Item>> pointers;
        for (const QX::RCPtr<Item>& item : Items()) {
            pointers.emplace_back(item.Get());
        }
        return pointers;
    }();
    return sPointers;
}

/// A vector of boost's pointers to the objects that `Objects` returns pointers to.
template <class T, const std::vector<boost::intrusive_ptr<T>>& (*Objects)()>
struct BoostVector
{
    using Container = std::vector<boost::intrusive_ptr<T>>;

    static const auto& Source() { return Objects(); }
    static void Append(Container& vector, const boost::intrusive_ptr<T>& item)
    {
        vector.push_back(item);
    }
    static void InsertFront(Container& vector, const boost::intrusive_ptr<T>& item)
    {
        vector.insert(vector.begin(), item);
    }
    static uint32 Count(const Container& vector) { return static_cast<uint32>(vector.size()); }
};

/// Slots that exist already, and whose references are counted without a look at anything else.
class BareSlots
{
public:
    using Container = BareSlots;

    BareSlots() = default;
    BareSlots(const BareSlots&) = delete;
    BareSlots& operator=(const BareSlots&) = delete;
    ~BareSlots()
    {
        for (uint32 index = 0; index < mCount; ++index) {
            sCounters[index % kItems].fetch_sub(1, std::memory_order_acq_rel);
        }
    }

    static auto& Source() { return sCounters; }
    static void Append(BareSlots& slots, std::atomic<int>& counter)
    {
        counter.fetch_add(1, std::memory_order_relaxed);
        slots.mSlots[slots.mCount++] = &counter;
    }
    static void InsertFront(BareSlots& slots, std::atomic<int>& counter)
    {
        counter.fetch_add(1, std::memory_order_relaxed);
        std::memmove(slots.mSlots.get() + 1, slots.mSlots.get(), slots.mCount * sizeof(void*));
        slots.mSlots[0] = &counter;
        ++slots.mCount;
    }
    static uint32 Count(const BareSlots& slots) { return slots.mCount; }

private:
    inline static std::array<std::atomic<int>, kItems> sCounters;

    std::unique_ptr<void* []> mSlots { new void*[kLargestCount] };
    uint32 mCount = 0;
};

enum class Operation
{
    kAppend,
    kInsertFront,
    kDrop
};

template <class Kind, Operation Measured>
void Fill(typename Kind::Container& container, uint32 count)
{
    auto& source = Kind::Source();
    for (uint32 index = 0; index < count; ++index) {
        if constexpr (Measured == Operation::kInsertFront) {
            Kind::InsertFront(container, source[index % kItems]);
        } else {
            Kind::Append(container, source[index % kItems]);
        }
    }
}

/// Measures containers in batches, so that reading the clock does not count.
template <class Kind, Operation Measured>
void Run(benchmark::State& state)
{
    const auto count = static_cast<uint32>(state.range(0));
    const uint32 batch = std::max<uint32>(1, 16384 / count);
    for (auto _ : state) {
        std::deque<typename Kind::Container> containers(batch);
        auto start = std::chrono::steady_clock::now();
        for (auto& container : containers) {
            Fill<Kind, Measured>(container, count);
        }
        if constexpr (Measured == Operation::kDrop) {
            start = std::chrono::steady_clock::now();
            containers.clear();
        }
        const auto end = std::chrono::steady_clock::now();
        state.SetIterationTime(std::chrono::duration<double>(end - start).count());
        for (const auto& container : containers) {
            if (Kind::Count(container) != count) {
                Fail("an element is missing");
            }
        }
    }
    state.SetItemsProcessed(state.iterations() * batch * count);
}

template <class Kind, Operation Measured>
void Register(const std::string& operation, const std::string& container)
{
    for (const int count : {4, 16, 64, 256, 1024, 4096, 16384}) {
        const std::string name = operation + '/' + container;
        benchmark::RegisterBenchmark(name.c_str(), &Run<Kind, Measured>)
            ->Arg(count)
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond);
    }
}

template <Operation Measured>
void RegisterAll(const std::string& operation)
{
    Register<OurArray<1, 0>, Measured>(operation, "array<1,0>");
    Register<OurArray<256, 256>, Measured>(operation, "array<256,256>");
    Register<BoostVector<Peer, &Peers>, Measured>(operation, "vector");
    Register<BoostVector<Item, &ItemPointers>, Measured>(operation, "vector-of-items");
    Register<BareSlots, Measured>(operation, "memory");
}

} // namespace

int main(int argumentCount, char** arguments)
{
    RegisterAll<Operation::kAppend>("Append");
    RegisterAll<Operation::kInsertFront>("InsertFront");
    RegisterAll<Operation::kDrop>("Drop");
    benchmark::Initialize(&argumentCount, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
