#include "host/watch/LimitTexts.h"

#include <fmt/format.h>

std::string countOf(std::uint64_t count, const char* singular, const char* plural) {
  return fmt::format("{} {}", count, count == 1 ? singular : plural);
}

std::string averageText(Quantity const& quantity, std::uint64_t average, std::uint64_t limit,
                        unsigned int samples) {
  return fmt::format("{} average {} of at most {} {} over {}", quantity.name, average, limit,
                     quantity.unit, countOf(samples, "sample", "samples"));
}

std::string tooManyText(unsigned int count, unsigned int limit) {
  return fmt::format("{}, {} too many", countOf(count, "instance counts", "instances count"),
                     countOf(limit, "is", "are"));
}

std::string tooFewText(unsigned int count, int limit) {
  const std::string counted = countOf(count, "instance counts", "instances count");
  if (limit < 0) return counted + ", and one more is started at every sample: no limit is set";
  return fmt::format("{}, {} wanted", counted, countOf(std::uint64_t(limit), "is", "are"));
}
