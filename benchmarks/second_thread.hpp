#pragma once

/// @file
/// A second thread that sleeps.
///
/// The C++ library counts references without atomic operations, and the C library allocates without
/// them, as long as a process has one thread. An agent has several.

#include <future>
#include <thread>

namespace benchmarks {

class SecondThread {
public:
    SecondThread() : thread_([this] { end_.get_future().wait(); }) {}
    SecondThread(const SecondThread&) = delete;
    SecondThread& operator=(const SecondThread&) = delete;
    ~SecondThread() {
        end_.set_value();
        thread_.join();
    }

private:
    std::promise<void> end_;
    std::thread thread_;
};

} // namespace benchmarks
