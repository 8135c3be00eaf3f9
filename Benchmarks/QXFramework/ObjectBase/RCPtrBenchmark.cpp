// RCPtrBenchmark.cpp - what does it cost to copy a smart pointer and to release the copy?
//
// Compared: RCPtr with the counters in the object itself (LRefCountedObject) and reached through a
// virtual base (LIBuffer), boost::intrusive_ptr with an atomic counter, std::shared_ptr, and the
// limit: one locked addition and one locked subtraction on the same word. "Contended" is the same
// from two threads on one object; "Move" is the cost without a second holder.

#include <QX/Buffer.h>
#include <QX/RCPtr.h>

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <benchmark/benchmark.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>

namespace {

// As LRefCountedObject: polymorphic, deleted through its virtual destructor.
class BoostCounted : public boost::intrusive_ref_counter<BoostCounted, boost::thread_safe_counter>
{
public:
    virtual ~BoostCounted() = default;
};

class StandardShared
{
public:
    virtual ~StandardShared() = default;
};

QX::RCPtr<QX::LRefCountedObject> gObject;
QX::RCPtr<QX::LIBuffer> gBuffer;
boost::intrusive_ptr<BoostCounted> gBoost;
std::shared_ptr<StandardShared> gShared;
std::atomic<int> gCounter{1};

template <class Pointer>
void CopyAndRelease(benchmark::State& state, const Pointer& source)
{
    for (auto _ : state) {
        Pointer copy(source);
        benchmark::DoNotOptimize(copy);
    }
}

template <class Pointer>
void Move(benchmark::State& state, Pointer source)
{
    for (auto _ : state) {
        Pointer moved(std::move(source));
        benchmark::DoNotOptimize(moved);
        source = std::move(moved);
        benchmark::DoNotOptimize(source);
    }
}

void LockedAddAndSubtract(benchmark::State& state)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(gCounter.fetch_add(1));
        benchmark::DoNotOptimize(gCounter.fetch_sub(1));
    }
}

void RegisterFor(const char* kind, int threads)
{
    const std::string suffix = std::string("/") + kind;
    const auto add = [&](const char* name, auto body) {
        benchmark::RegisterBenchmark((name + suffix).c_str(), body)->Threads(threads);
    };
    add("LockedAddAndSubtract", LockedAddAndSubtract);
    add("BoostIntrusivePtr", [](benchmark::State& state) { CopyAndRelease(state, gBoost); });
    add("StdSharedPtr", [](benchmark::State& state) { CopyAndRelease(state, gShared); });
    add("RCPtr", [](benchmark::State& state) { CopyAndRelease(state, gObject); });
    add("RCPtrBehindVirtualBase", [](benchmark::State& state) { CopyAndRelease(state, gBuffer); });
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    // With a single thread in the process std::shared_ptr counts without locked instructions.
    std::atomic<bool> ends{false};
    std::jthread second([&] { ends.wait(false); });
    gObject = QX::RCPtr<QX::LRefCountedObject>(new QX::LRefCountedObject);
    gBuffer = QX::LByteBuffer::Create(16, 0, true);
    gBoost.reset(new BoostCounted);
    gShared = std::make_shared<StandardShared>();

    RegisterFor("alone", 1);
    RegisterFor("contended", 2);
    benchmark::RegisterBenchmark("RCPtrMove",
                                 [](benchmark::State& state) { Move(state, gObject); });
    benchmark::RunSpecifiedBenchmarks();

    ends = true;
    ends.notify_one();
}
