/// @file
/// The benchmark program: Catch2's, with a reporter for scripts.

#define CATCH_CONFIG_MAIN
#include "benchmark.hpp"

#include <cstdlib>
#include <iostream>

namespace {

/// Prints one line for each benchmark: family, row, contestant and the times of its samples in
/// nanoseconds a call, between tabs and, for the samples, blanks. What is wrong goes to the
/// standard error stream.
class SampleReporter : public Catch::StreamingReporterBase<SampleReporter> {
public:
    using StreamingReporterBase::StreamingReporterBase;

    static std::string getDescription() { return "one line of samples for each benchmark"; }

    void assertionStarting(const Catch::AssertionInfo&) override {}

    bool assertionEnded(const Catch::AssertionStats& stats) override {
        if (!stats.assertionResult.isOk()) {
            std::cerr << stats.assertionResult.getSourceInfo()
                      << ": failed: " << stats.assertionResult.getExpression() << '\n';
            for (const Catch::MessageInfo& info : stats.infoMessages) {
                std::cerr << "    " << info.message << '\n';
            }
        }
        return true;
    }

    void benchmarkEnded(const Catch::BenchmarkStats<>& stats) override {
        stream << currentTestCaseInfo->tags.at(0) << benchmarks::NAME_SEPARATOR << stats.info.name
               << benchmarks::NAME_SEPARATOR;
        const char* separator = "";
        for (const auto& sample : stats.samples) {
            stream << separator << sample.count();
            separator = " ";
        }
        stream << std::endl;
    }

    void benchmarkFailed(const std::string& error) override { std::cerr << error << '\n'; }
};

CATCH_REGISTER_REPORTER("samples", SampleReporter)

} // namespace
