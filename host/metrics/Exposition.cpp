#include "host/metrics/Exposition.h"

#include <prometheus/text_serializer.h>

#include <utility>

prometheus::ClientMetric sampleOf(prometheus::MetricType type, double value,
                                  std::vector<prometheus::ClientMetric::Label> labels) {
  prometheus::ClientMetric sample;
  sample.label = std::move(labels);
  (type == prometheus::MetricType::Counter ? sample.counter.value : sample.gauge.value) = value;
  return sample;
}

void Exposition::add(prometheus::MetricFamily family) {
  if (family.metric.empty()) return;
  std::vector<prometheus::MetricFamily> families;
  families.push_back(std::move(family));
  prometheus::TextSerializer().Serialize(fText, families);
}

std::string Exposition::text() && { return std::move(fText).str(); }
