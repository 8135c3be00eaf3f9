// FuzzQueue.cpp - arbitrary traffic through the ring, against a standard deque.
//
// The first byte is the number of initial slots; each other byte is an operation. The last two
// kinds change the array under the ring, which may lose objects but never leaves the array; the
// model then starts again from an empty ring.

#include <QX/RCPtrQueue.h>

#include "FuzzCheck.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <stdexcept>

namespace {

using QX::RCPtr;
using QX::uint32;

struct Item : virtual QX::LRefCountedObject
{
    Item() { ++sLiveCount; }
    ~Item() override { --sLiveCount; }

    inline static int sLiveCount = 0;
};

class Session
{
public:
    Session(QX::Mutex& mutex, uint32 slots)
        : mQueue(&mutex, slots)
    {}

    void Run(uint8_t operation)
    {
        switch (operation % 8) {
        case 0:
        case 1:
        case 2:
            Enqueue(RCPtr<Item>(new Item));
            break;
        case 3:
            Enqueue(nullptr);
            break;
        case 4:
            EnqueueOwnSlot(operation / 8);
            break;
        case 5:
            Dequeue();
            break;
        case 6:
            TryDequeue();
            break;
        default:
            ChangeTheArray(operation);
            break;
        }
        Check();
    }

private:
    void Enqueue(const RCPtr<Item>& item)
    {
        FUZZ_CHECK(mQueue.Enqueue(item) == 0);
        mModel.push_back(item);
    }

    void EnqueueOwnSlot(uint32 index)
    {
        if (mQueue.GetCount() == 0) {
            return;
        }
        RCPtr<Item>& slot = *mQueue.GetAt(index % mQueue.GetCount());
        mModel.push_back(slot);
        FUZZ_CHECK(mQueue.Enqueue(slot) == 0);
    }

    void Dequeue()
    {
        try {
            const RCPtr<Item> item = mQueue.Dequeue();
            FUZZ_CHECK(!mModel.empty() && item == mModel.front());
            mModel.pop_front();
        } catch (const std::runtime_error&) {
            FUZZ_CHECK(mModel.empty());
        }
    }

    void TryDequeue()
    {
        RCPtr<Item> item;
        FUZZ_CHECK(mQueue.TryDequeue(item) == !mModel.empty());
        if (!mModel.empty()) {
            FUZZ_CHECK(item == mModel.front());
            mModel.pop_front();
        }
    }

    void ChangeTheArray(uint8_t operation)
    {
        // A ring learns of its first slots by its own growth alone.
        if (operation < 0xC0 || mQueue.GetCount() == 0) {
            return;
        }
        mQueue.SetCount(operation / 8 % 8);
        RCPtr<Item> item;
        while (mQueue.TryDequeue(item)) {
        }
        FUZZ_CHECK(mQueue.GetQueuedObjectsCount() == 0);
        for (uint32 index = 0; index < mQueue.GetCount(); ++index) {
            *mQueue.GetAt(index) = nullptr;
        }
        mModel.clear();
    }

    void Check()
    {
        FUZZ_CHECK(mQueue.GetQueuedObjectsCount() == mModel.size());
        FUZZ_CHECK(mQueue.IsFull() == (mModel.size() + 1 == mQueue.GetCount()));
        uint32 held = 0;
        for (uint32 index = 0; index < mQueue.GetCount(); ++index) {
            held += *mQueue.GetAt(index) != nullptr ? 1u : 0u;
        }
        for (const RCPtr<Item>& item : mModel) {
            held -= item != nullptr ? 1u : 0u;
        }
        FUZZ_CHECK(held == 0);
    }

    QX::RCPtrQueue<Item, 4> mQueue;
    std::deque<RCPtr<Item>> mModel;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) {
        return 0;
    }
    QX::Mutex mutex;
    {
        Session session(mutex, data[0] % 8);
        for (size_t offset = 1; offset < size; ++offset) {
            session.Run(data[offset]);
        }
    }
    FUZZ_CHECK(Item::sLiveCount == 0);
    return 0;
}
