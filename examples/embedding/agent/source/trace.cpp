#include <nuriagent/trace.hpp>

#include <cstddef>
#include <mutex>

namespace nuritrace {

bool tMEMORY = false;

} // namespace nuritrace

namespace {

constexpr std::size_t KEPT = 100;

// Nuriccl traces on the thread that calls it, so several may come at once.
std::mutex mutex;
std::string records[KEPT];
std::size_t written = 0;

} // namespace

namespace csl {

NuriTrace::Record& NuriTrace::Message(const char* file, const char* function, unsigned int line) {
    record_.text =
        std::to_string(level_) + ' ' + file + ':' + std::to_string(line) + ' ' + function + ": ";
    return record_; // nuriccl appends to it
}

NuriTrace::~NuriTrace() {
    const std::lock_guard<std::mutex> lock(mutex);
    records[written++ % KEPT].swap(record_.text);
}

} // namespace csl

namespace agent {

std::vector<std::string> recent_records() {
    const std::lock_guard<std::mutex> lock(mutex);
    std::vector<std::string> recent;
    for (std::size_t i = written < KEPT ? 0 : written - KEPT; i < written; ++i) {
        recent.push_back(records[i % KEPT]);
    }
    return recent;
}

} // namespace agent
