#include "bench/Harness.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace bench {

namespace {

std::vector<Row>& addedRows() {
    static std::vector<Row> all;
    return all;
}

/// The number in an id, so that P2 stands ahead of P10.
int numberOf(const std::string& id) {
    const std::size_t digit = id.find_first_of("0123456789");
    return digit == std::string::npos ? 0 : std::stoi(id.substr(digit));
}

bool isBetter(const Figure& one, const Figure& other, const Goal& goal) {
    return goal.kind == Goal::Kind::AtMost ? one.value < other.value : one.value > other.value;
}

}  // namespace

bool addRow(Row row) {
    addedRows().push_back(std::move(row));
    return true;
}

std::vector<Row> rows() {
    std::vector<Row> sorted = addedRows();
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const Row& a, const Row& b) { return numberOf(a.id) < numberOf(b.id); });
    return sorted;
}

Figure compareInterleaved(const Block& subject, const Block& baseline, std::size_t blocks) {
    baseline();
    subject();
    std::vector<double> subjects;
    std::vector<double> baselines;
    std::vector<double> ratios;
    for (std::size_t i = 0; i < std::max(blocks, kBlocks); ++i) {
        const bool subjectFirst = i % 2 == 1;
        const double first = subjectFirst ? subject() : baseline();
        const double second = subjectFirst ? baseline() : subject();
        subjects.push_back(subjectFirst ? first : second);
        baselines.push_back(subjectFirst ? second : first);
        ratios.push_back(subjects.back() / baselines.back());
    }
    return {median(subjects), median(baselines), median(ratios), ""};
}

Figure measured(double value) {
    return {value, std::nullopt, value, ""};
}

Figure compared(double subject, double baseline) {
    return {subject, baseline, subject / baseline, ""};
}

Figure failed(std::string text) {
    return {0.0, std::nullopt, 0.0, std::move(text)};
}

double median(std::vector<double> values) {
    if (values.empty()) {
        return 0.0;
    }
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2.0;
}

bool isMet(const Figure& figure, const Goal& goal) {
    if (!figure.failure.empty() || !std::isfinite(figure.value)) {
        return false;
    }
    return goal.kind == Goal::Kind::AtMost ? figure.value <= goal.limit : figure.value >= goal.limit;
}

Result measureRow(const Row& row) {
    Figure best;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const Figure figure = row.measure();
        if (!figure.failure.empty()) {
            return {figure, false};
        }
        if (attempt == 0 || isBetter(figure, best, row.goal)) {
            best = figure;
        }
        if (isMet(best, row.goal)) {
            break;
        }
    }
    return {best, isMet(best, row.goal)};
}

}  // namespace bench
