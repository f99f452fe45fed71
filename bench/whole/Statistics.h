#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

/// Figures of one kind, in the order in which they were taken. Without any, every
/// statistic is not a number.
class Series {
 public:
  void add(double figure) { fFigures.push_back(figure); }
  std::size_t count() const { return fFigures.size(); }

  double median() const {
    if (fFigures.empty()) return kNone;
    std::vector<double> sorted = fFigures;
    std::sort(sorted.begin(), sorted.end());
    const std::size_t middle = sorted.size() / 2;
    return sorted.size() % 2 == 1 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
  }
  double mean() const {
    if (fFigures.empty()) return kNone;
    return std::accumulate(fFigures.begin(), fFigures.end(), 0.0) /
           static_cast<double>(fFigures.size());
  }
  double least() const {
    return fFigures.empty() ? kNone : *std::min_element(fFigures.begin(), fFigures.end());
  }
  double most() const {
    return fFigures.empty() ? kNone : *std::max_element(fFigures.begin(), fFigures.end());
  }

 private:
  static constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

  std::vector<double> fFigures;
};
