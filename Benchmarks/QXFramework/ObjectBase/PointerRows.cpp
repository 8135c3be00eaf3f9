// PointerRows.cpp - what do counted objects and their smart pointers cost?
//
// The product's counters are in a virtual base; boost's and Poco's objects have theirs in an
// ordinary one. "locked" adds to and subtracts from one atomic word, the limit of a counted copy.
// The downcast stands beside a dynamic_cast of the same object and a copy.

#include "Rows.h"

#include <QX/Buffer.h>
#include <QX/RCPtr.h>

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#ifdef QX_PEER_POCO
#include <Poco/AutoPtr.h>
#include <Poco/RefCountedObject.h>
#endif

#include <atomic>
#include <memory>
#include <thread>

namespace rows {
namespace {

struct Item : virtual QX::LRefCountedObject
{
    int value = 0;
};

struct BoostItem : boost::intrusive_ref_counter<BoostItem, boost::thread_safe_counter>
{
    virtual ~BoostItem() = default;
    int value = 0;
};

#ifdef QX_PEER_POCO
struct PocoItem : Poco::RefCountedObject
{
    int value = 0;
};
#endif

template <class Pointer>
void AddCopy(const char* library, Pointer source)
{
    AddRow("pointer.copy", library, 1, [source] {
        return [source] {
            Pointer copy(source);
            benchmark::DoNotOptimize(copy);
        };
    });
}

/// Copies and releases while a second thread does the same.
template <class Pointer>
void AddContended(const char* library, Pointer source)
{
    AddRow("pointer.copy.contended", library, 1, [source] {
        auto other = std::make_shared<std::jthread>([source](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                Pointer copy(source);
                benchmark::DoNotOptimize(copy);
            }
        });
        return [source, other] {
            Pointer copy(source);
            benchmark::DoNotOptimize(copy);
        };
    });
}

template <class Make>
void AddMake(const char* library, Make make)
{
    AddRow("pointer.make", library, 1, [make] {
        return [make] {
            auto pointer = make();
            benchmark::DoNotOptimize(pointer);
        };
    });
}

template <class Cast>
void AddDowncast(const char* library, Cast cast)
{
    AddRow("pointer.downcast", library, 1, [cast] {
        return [cast] {
            auto pointer = cast();
            benchmark::DoNotOptimize(pointer);
        };
    });
}

struct LockedWord
{
    LockedWord(std::atomic<int>& word)
        : counter(&word)
    {
        counter->fetch_add(1, std::memory_order_relaxed);
    }
    LockedWord(const LockedWord& other)
        : LockedWord(*other.counter)
    {}
    LockedWord& operator=(const LockedWord&) = delete;
    ~LockedWord() { counter->fetch_sub(1, std::memory_order_acq_rel); }

    std::atomic<int>* counter;
};

} // namespace

void AddPointerRows()
{
    const QX::RCPtr<QX::LIBuffer> buffer = QX::LByteBuffer::Create(16, 0, true);
    const boost::intrusive_ptr<BoostItem> boosted(new BoostItem);
    const auto shared = std::make_shared<int>(1);
    static std::atomic<int> sCounter;

    AddCopy("QX", buffer);
    AddCopy("boost", boosted);
    AddCopy("std", shared);
    AddCopy<LockedWord>("locked", sCounter);
    AddContended("QX", buffer);
    AddContended("boost", boosted);
    AddContended("std", shared);
    AddContended<LockedWord>("locked", sCounter);

    AddMake("QX", [] { return QX::RCPtr<Item>(new Item); });
    AddMake("boost", [] { return boost::intrusive_ptr<BoostItem>(new BoostItem); });
    AddMake("std", [] { return std::make_shared<int>(1); });

    const QX::RCPtr<QX::LRefCountedObject> object(buffer);
    AddDowncast("QX", [object] { return QX::RCPtr<QX::LIBuffer>::Downcast(object); });
    AddDowncast("cast-and-copy", [object] {
        return QX::RCPtr<QX::LIBuffer>(dynamic_cast<QX::LIBuffer*>(object.Get()));
    });

#ifdef QX_PEER_POCO
    const Poco::AutoPtr<PocoItem> poco(new PocoItem);
    AddCopy("Poco", poco);
    AddContended("Poco", poco);
    AddMake("Poco", [] { return Poco::AutoPtr<PocoItem>(new PocoItem); });
#endif
}

} // namespace rows
