// Threads.h - several threads that start at the same moment.
#pragma once

#include <barrier>
#include <cstddef>
#include <thread>
#include <vector>

namespace TestSupport {

/// Runs `body(index)` on `count` threads at once and returns when all have ended.
template <class Body>
void RunOnThreads(std::size_t count, const Body& body)
{
    std::barrier start(static_cast<std::ptrdiff_t>(count));
    std::vector<std::jthread> threads;
    for (std::size_t index = 0; index < count; ++index) {
        threads.emplace_back([&start, &body, index] {
            start.arrive_and_wait();
            body(index);
        });
    }
}

} // namespace TestSupport
