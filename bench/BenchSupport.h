#pragma once

// What the benchmark programs share.

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace kelvara::bench {

// Keeps each benchmark's best time for the table at the end: the least
// disturbed of its repetitions.
class SummaryReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const bool best = run.run_type == Run::RT_Aggregate && run.aggregate_name == "min";
            if (run.error_occurred || !(best || run.run_type == Run::RT_Iteration)) {
                continue;
            }
            const std::string& name = run.run_name.function_name;
            const double time = run.GetAdjustedCPUTime();
            const auto found = times.find(name);
            if (found == times.end() || best || time < found->second) {
                times[name] = time;
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    std::map<std::string, double> times;
};

}  // namespace kelvara::bench
