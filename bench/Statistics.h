#pragma once

// Order statistics of repeated measurements, for the benchmarks' tables.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace lmmocktl_bench {

inline double quantile(std::vector<double> values, double q) {
  if (values.empty()) return NAN;
  std::sort(values.begin(), values.end());
  const double position = q * static_cast<double>(values.size() - 1);
  const auto below = static_cast<std::size_t>(position);
  const std::size_t above = std::min(below + 1, values.size() - 1);
  return values[below] + (values[above] - values[below]) * (position - static_cast<double>(below));
}

// A measurement repeated over runs: its median and range.
struct Spread {
  std::vector<double> runs;
  double median() const { return quantile(runs, 0.5); }
  double min() const { return runs.empty() ? NAN : *std::min_element(runs.begin(), runs.end()); }
  double max() const { return runs.empty() ? NAN : *std::max_element(runs.begin(), runs.end()); }
  std::string text(const char* format = "%.3g") const {
    if (runs.empty()) return "n/a";
    char median[32], low[32], high[32];
    std::snprintf(median, sizeof median, format, this->median());
    std::snprintf(low, sizeof low, format, min());
    std::snprintf(high, sizeof high, format, max());
    return std::string(median) + " [" + low + ", " + high + "]";
  }
};

}  // namespace lmmocktl_bench
