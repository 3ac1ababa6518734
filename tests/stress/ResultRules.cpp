#include "tests/stress/ResultRules.h"

#include <algorithm>
#include <array>
#include <vector>

namespace stress {
namespace {

struct Rule {
    std::uint32_t command;
    std::vector<std::uint32_t> results;
};

const std::array<Rule, 14>& rules() {
    static const std::array<Rule, 14> kRules{{
        {1, {0, 3, 6, 54, 55, 57}},            // connect: CONNECT, EXCHANGE_ID, comm mode, status, version
        {2, {0}},                              // disconnect
        {3, {0}},                              // link lost
        {4, {0}},                              // a measurement begins
        {5, {0, 15, 16, 17}},                  // start: synchronised start, DAQ facts
        {6, {0}},                              // stop
        {7, {0}},                              // read once
        {8, {0, 2}},                           // write: no such ECU
        {9, {2, 72}},                          // page: no such ECU, no such command
        {10, {0, 26, 34, 37}},                 // upload: no range, nothing came, SET_MTA
        {11, {0, 2, 28, 29, 35, 37, 72, 73}},  // download
        {14, {0, 1, 28}},                      // forced download: of no file
        {15, {0, 2, 59, 60, 64}},              // erase
        {18, {2, 72}},                         // copy of a page
    }};
    return kRules;
}

constexpr std::uint32_t kUploadPercent = 12;
constexpr std::uint32_t kDownloadPercent = 13;
constexpr std::uint32_t kCheck = 16;

}  // namespace

bool mayReport(std::uint32_t command, std::uint32_t result) {
    if (command == kUploadPercent || command == kDownloadPercent) {
        return result <= 100;
    }
    if (command == kCheck) {  // no range, no image, no sum
        return result == 0 || result == 28 || result == 29 || result == 33 || result == 70;
    }
    const auto rule = std::find_if(rules().begin(), rules().end(),
                                   [command](const Rule& row) { return row.command == command; });
    return rule != rules().end() && std::count(rule->results.begin(), rule->results.end(), result) > 0;
}

}  // namespace stress
