// ArrayRows.cpp - what do the smart-pointer arrays cost beside vectors and QList?
//
// 1,000 references to counted objects enter an empty container or leave a full one. "array<1,0>"
// grows and shrinks by one slot at a time; that of a row without a size grows by 256. The peers
// hold pointers of boost's to the product's own objects, so that nothing but the container differs.

#include "Rows.h"

#include <QX/RCPtrArray.h>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#ifdef QX_PEER_QT
#include <QList>
#endif

#include <deque>
#include <vector>

namespace rows {
namespace {

struct Item : virtual QX::LRefCountedObject
{};

// What boost's pointers call on a counted object; they find it by the argument's namespace.
void intrusive_ptr_add_ref(Item* item)
{
    item->AddReference();
}
void intrusive_ptr_release(Item* item)
{
    item->RemoveReference();
}

constexpr int kCount = 1000;

template <QX::uint32 Grow>
struct OurArray
{
    using Pointer = QX::RCPtr<Item>;
    using Container = QX::RCPtrArray<Item, Grow, Grow == 1 ? 0 : Grow>;

    static void Append(Container& array, const Pointer& item) { array.AppendItem(item); }
    static void InsertFront(Container& array, const Pointer& item) { array.InsertItem(0, item); }
    static void RemoveBack(Container& array)
    {
        Pointer removed;
        array.RemoveLast(removed);
    }
    static void RemoveFront(Container& array)
    {
        Pointer removed;
        array.RemoveItem(0, removed);
    }
};

template <class ContainerType>
struct Peer
{
    using Pointer = boost::intrusive_ptr<Item>;
    using Container = ContainerType;

    static void Append(Container& list, const Pointer& item) { list.push_back(item); }
    static void InsertFront(Container& list, const Pointer& item)
    {
        list.insert(list.begin(), item);
    }
    static void RemoveBack(Container& list) { list.pop_back(); }
    static void RemoveFront(Container& list) { list.erase(list.begin()); }
};

/// Measures `measured` on each of a few containers that `prepare` has filled.
template <class Kind, class Prepare, class Measured>
void Add(const std::string& row, const std::string& library, Prepare prepare, Measured measured)
{
    benchmark::RegisterBenchmark((row + '/' + library).c_str(), [=](benchmark::State& state) {
        const typename Kind::Pointer item(new Item);
        for (auto _ : state) {
            std::deque<typename Kind::Container> containers(8);
            for (auto& container : containers) {
                for (int count = 0; count < kCount; ++count) {
                    prepare(container, item);
                }
            }
            const double start = ThreadSeconds();
            for (auto& container : containers) {
                for (int count = 0; count < kCount; ++count) {
                    measured(container, item);
                }
            }
            state.SetIterationTime(ThreadSeconds() - start);
        }
        state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * 8 * kCount);
    })->UseManualTime();
}

template <class Kind>
void AddAll(const std::string& array, const std::string& library)
{
    const auto nothing = [](auto&, auto&) {};
    const auto append = [](auto& container, auto& item) { Kind::Append(container, item); };
    Add<Kind>(array + ".append", library, nothing, append);
    Add<Kind>(array + ".insert-front", library, nothing,
              [](auto& container, auto& item) { Kind::InsertFront(container, item); });
    Add<Kind>(array + ".remove-back", library, append,
              [](auto& container, auto&) { Kind::RemoveBack(container); });
    Add<Kind>(array + ".remove-front", library, append,
              [](auto& container, auto&) { Kind::RemoveFront(container); });
}

} // namespace

void AddArrayRows()
{
    AddAll<OurArray<1>>("array<1,0>", "QX");
    AddAll<OurArray<256>>("array", "QX");
    for (const char* const array : {"array<1,0>", "array"}) {
        AddAll<Peer<std::vector<boost::intrusive_ptr<Item>>>>(array, "std");
#ifdef QX_PEER_QT
        AddAll<Peer<QList<boost::intrusive_ptr<Item>>>>(array, "Qt");
#endif
    }
}

} // namespace rows
