#include "host/Sparkline.h"

#include <algorithm>

namespace host {
namespace {

constexpr std::size_t kMostBuckets = 512;

constexpr const char* kBars[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr std::size_t kHeights = std::size(kBars);

std::size_t height(double value, double least, double most) {
    if (!(most > least)) {
        return kHeights / 2 - 1;
    }
    const double share = (value - least) / (most - least);
    return std::min(static_cast<std::size_t>(share * static_cast<double>(kHeights)), kHeights - 1);
}

}  // namespace

void Series::add(double value) {
    if (m_buckets.empty() || m_buckets.back().values == m_perBucket) {
        if (m_buckets.size() == kMostBuckets) {
            halve();
        }
        m_buckets.push_back({});
    }
    m_buckets.back().sum += value;
    ++m_buckets.back().values;
}

void Series::halve() {
    for (std::size_t i = 0; i < m_buckets.size() / 2; ++i) {
        const Bucket& second = m_buckets[2 * i + 1];
        m_buckets[i] = m_buckets[2 * i];
        m_buckets[i].sum += second.sum;
        m_buckets[i].values += second.values;
    }
    m_buckets.resize(m_buckets.size() / 2);
    m_perBucket *= 2;
}

std::vector<double> Series::points(std::size_t count) const {
    const std::size_t size = std::min(count, m_buckets.size());
    std::vector<double> points;
    for (std::size_t i = 0; i < size; ++i) {
        Bucket all;
        for (std::size_t k = i * m_buckets.size() / size; k < (i + 1) * m_buckets.size() / size; ++k) {
            all.sum += m_buckets[k].sum;
            all.values += m_buckets[k].values;
        }
        points.push_back(all.sum / static_cast<double>(all.values));
    }
    return points;
}

std::string sparkline(const std::vector<double>& points, std::size_t width) {
    std::string line;
    const std::size_t drawn = std::min(points.size(), width);
    const auto [least, most] = std::minmax_element(points.begin(), points.end());
    for (std::size_t i = 0; i < drawn; ++i) {
        line += kBars[height(points[i], *least, *most)];
    }
    return line.append(width - drawn, ' ');
}

}  // namespace host
