#pragma once

#include <prometheus/metric_family.h>

#include <optional>
#include <sstream>
#include <string>

/// How one metric is made of something: the head of its family, and its value,
/// nothing where the subject has none. The help says unit and meaning.
template <class Subject>
struct MetricRow {
  const char* name;
  prometheus::MetricType type;
  const char* help;
  std::optional<double> (*value)(Subject const&);
};

/// One sample of a family.
prometheus::ClientMetric sampleOf(prometheus::MetricType type, double value,
                                  std::vector<prometheus::ClientMetric::Label> labels = {});

/// The text of all metrics at one moment. Families are written as they come, so
/// no more than one is held.
class Exposition {
 public:
  /// A family without samples is left out.
  void add(prometheus::MetricFamily family);

  std::string text() &&;

 private:
  std::ostringstream fText;
};
