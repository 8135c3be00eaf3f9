// Rows.h - rows of one question each, answered by the product and by its peers in the same run.
//
// A row is named ROW/LIBRARY. rows.json has the title of each row and the product's aim;
// scripts/bench makes the table. The time of a row is that of one operation: what an iteration does
// several times counts as several items.
#pragma once

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdint>
#include <ctime>
#include <string>
#include <thread>

namespace rows {

/// Adds a row whose iterations run what `make` returns. One iteration is `operations` operations.
template <class Make>
void AddRow(const std::string& row, const std::string& library, std::int64_t operations, Make make)
{
    benchmark::RegisterBenchmark((row + '/' + library).c_str(), [=](benchmark::State& state) {
        auto operation = make();
        for (auto _ : state) {
            operation();
        }
        state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * operations);
    });
}

/// A second thread that lives as long as this object. Without one the C library's locks and heap
/// and the standard library's counts do without atomic operations; the product's never do.
class SecondThread
{
public:
    SecondThread()
        : mThread([this] { mIsEnding.wait(false); })
    {}
    SecondThread(const SecondThread&) = delete;
    SecondThread& operator=(const SecondThread&) = delete;
    ~SecondThread()
    {
        mIsEnding = true;
        mIsEnding.notify_one();
    }

private:
    std::atomic<bool> mIsEnding = false;
    std::jthread mThread;
};

/// The seconds for which the calling thread has run, for rows that measure a part of an iteration.
inline double ThreadSeconds()
{
    std::timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

// One function for each file of rows.
void AddPointerRows();
void AddStringRows();
void AddNumberRows();
void AddWidthRows();
void AddConversionRows();
void AddVariantRows();
void AddArrayRows();
void AddNotificationRows();
void AddQueueRows();
void AddFloorRows();

} // namespace rows
