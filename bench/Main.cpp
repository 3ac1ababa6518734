// talvex_bench [--json] [--row ID]...: measures the rows and exits 0 only if all of them are met.

#include "bench/Report.h"
#include "bench/RowProcess.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

struct Arguments {
    bool json = false;
    std::vector<std::string> ids;
};

using Results = std::map<std::string, bench::Line>;

/// The name of a row's benchmark; the id comes first, so that a filter can pick it.
std::string nameOf(const bench::Row& row) {
    return row.id + " " + row.subject;
}

/// Prints the line of each row as it comes, or all of them as JSON at the end.
class RowReporter : public benchmark::BenchmarkReporter {
public:
    RowReporter(const Results& results, bool asJson)
        : m_results(results), m_json(asJson), m_table(bench::rows()) {}

    bool ReportContext(const Context& context) override {
        if (!m_json) {
            std::printf("%d processors of %.0f MHz\n%s", context.cpu_info.num_cpus,
                        context.cpu_info.cycles_per_second / 1e6, m_table.head().c_str());
        }
        return true;
    }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            m_lines.push_back(m_results.at(run.run_name.function_name));
            if (!m_json) {
                std::fputs(m_table.line(m_lines.back()).c_str(), stdout);
                std::fflush(stdout);
            }
        }
    }

    void Finalize() override {
        if (m_json) {
            std::fputs(bench::json(m_lines).c_str(), stdout);
        } else {
            std::printf("%zu of %zu goals met\n", metCount(), m_lines.size());
        }
    }

    bool allMet() const { return !m_lines.empty() && metCount() == m_lines.size(); }

private:
    std::size_t metCount() const {
        std::size_t count = 0;
        for (const bench::Line& line : m_lines) {
            count += line.result.met ? 1U : 0U;
        }
        return count;
    }

    const Results& m_results;
    bool m_json;
    bench::Table m_table;
    std::vector<bench::Line> m_lines;
};

/// One benchmark for each row. It runs once and takes its time from the row, whose blocks are interleaved
/// with those of the baseline, which the library's own loop cannot do.
void registerRows(Results& results) {
    for (const bench::Row& row : bench::rows()) {
        const auto run = [&results, row](benchmark::State& state) {
            for ([[maybe_unused]] auto once : state) {
                const bench::Result result = bench::measureInOwnProcess(row);
                results[nameOf(row)] = {row, result};
                state.SetIterationTime(result.figure.subject * 1e-9);
                state.counters["value"] = result.figure.value;
            }
        };
        benchmark::RegisterBenchmark(nameOf(row).c_str(), run)->Iterations(1)->UseManualTime();
    }
}

bool parse(int count, char** values, Arguments& arguments) {
    for (int i = 1; i < count; ++i) {
        const std::string argument = values[i];
        if (argument == "--json") {
            arguments.json = true;
        } else if (argument == "--row" && i + 1 < count) {
            arguments.ids.emplace_back(values[++i]);
        } else {
            return false;
        }
    }
    return true;
}

/// A regular expression for the names of the rows with these ids.
std::string filterOf(const std::vector<std::string>& ids) {
    std::string filter;
    for (const std::string& id : ids) {
        filter += (filter.empty() ? "^(" : "|") + id;
    }
    return ids.empty() ? "." : filter + ") ";
}

}  // namespace

int main(int count, char** values) {
    Arguments arguments;
    if (!parse(count, values, arguments)) {
        std::fputs("usage: talvex_bench [--json] [--row ID]...\n", stderr);
        return 2;
    }
    int onlyTheName = 1;
    benchmark::Initialize(&onlyTheName, values);
    Results results;
    registerRows(results);
    RowReporter reporter(results, arguments.json);
    benchmark::RunSpecifiedBenchmarks(&reporter, filterOf(arguments.ids));
    return reporter.allMet() ? 0 : 1;
}
