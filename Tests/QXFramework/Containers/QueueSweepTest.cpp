// QueueSweepTest.cpp - every operation of the ring with each of its requests for memory refused: it
// throws, and what was queued still leaves in its order.

#include "Support/FailureSweep.h"
#include "Support/SweepNumber.h"

#include <QX/RCPtrQueue.h>

#include <memory>
#include <string>

namespace QX {
namespace {

using TestSupport::SweepRefusals;
using TestSupport::SweptOperation;

using Ring = RCPtrQueue<LSweepNumber, 1>;
using LargeRing = RCPtrQueue<LSweepNumber, 256>;

/// A ring of three slots that holds 1 and 2, and is full, and one that is empty.
struct Rings
{
    Mutex mutex;
    Ring ring{&mutex, 3};
    Ring empty{nullptr, 0};
    std::unique_ptr<LargeRing> made;
    RCPtr<LSweepNumber> number = MakeNumber(7);
    RCPtr<LSweepNumber> taken;

    Rings()
    {
        ring.Enqueue(MakeNumber(1));
        ring.Enqueue(MakeNumber(2));
    }

    /// The elements in the order in which they leave, of both rings; > what was taken.
    std::string Describe()
    {
        std::string seen = DescribeRing(ring) + "| " + DescribeRing(empty);
        if (taken != nullptr) {
            seen += "> " + QX::Describe(taken);
        }
        if (made != nullptr) {
            seen += made->IsFull() ? "> full" : "> " + std::to_string(made->GetCount());
        }
        return seen;
    }

    static std::string DescribeRing(Ring& ring)
    {
        std::string seen;
        RCPtr<LSweepNumber> element;
        for (uint32 count = ring.GetQueuedObjectsCount(); count > 0; --count) {
            ring.TryDequeue(element);
            seen += QX::Describe(element) + " ";
            ring.Enqueue(element);
        }
        return seen;
    }
};

// The indices are then beyond the middle of the ring.
void Turn(Rings& rings)
{
    rings.ring.Dequeue();
    rings.ring.Enqueue(MakeNumber(3));
}

TEST(QueueSweep, ARingThatCannotGrowThrowsAndKeepsItsOrder)
{
    const SweptOperation<Rings> operations[] = {
        {.what = "construct",
         .run = [](Rings& rings) { rings.made = std::make_unique<LargeRing>(&rings.mutex, 256); },
         .done = "1x1 2x1 | > 256",
         .thrown = "1x1 2x1 | ",
         .least = 2},
        {.what = "Enqueue into a full ring",
         .run = [](Rings& rings) { return rings.ring.Enqueue(rings.number) == 0; },
         .done = "1x1 2x1 7x2 | ",
         .thrown = "1x1 2x1 | ",
         .least = 1},
        {.what = "Enqueue into a full ring that has turned",
         .prepare = &Turn,
         .run = [](Rings& rings) { return rings.ring.Enqueue(rings.number) == 0; },
         .done = "2x1 3x1 7x2 | ",
         .thrown = "2x1 3x1 | ",
         .least = 1},
        {.what = "Enqueue into a ring without slots",
         .run = [](Rings& rings) { return rings.empty.Enqueue(rings.number) == 0; },
         .done = "1x1 2x1 | 7x2 ",
         .thrown = "1x1 2x1 | ",
         .least = 1},
        {.what = "Enqueue of what must not be shared",
         .prepare = [](Rings& rings) { rings.number->SetUnshareable(true); },
         .run = [](Rings& rings) { return rings.ring.Enqueue(rings.number) == 0; },
         .done = "1x1 2x1 7x1 | ",
         .thrown = "1x1 2x1 | ",
         .least = 2},
        {.what = "Dequeue",
         .run = [](Rings& rings) { rings.taken = rings.ring.Dequeue(); },
         .done = "2x1 | > 1x1"},
        {.what = "TryDequeue",
         .run = [](Rings& rings) { return rings.ring.TryDequeue(rings.taken); },
         .done = "2x1 | > 1x1"},
    };

    SweepRefusals<Rings>(operations);
}

} // namespace
} // namespace QX
