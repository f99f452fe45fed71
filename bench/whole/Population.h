#pragma once

#include <string>
#include <vector>

#include "bench/whole/Child.h"

/// What is to be watched.
struct Watched {
  std::string label;               ///< for the report
  std::vector<std::string> names;  ///< an entry each
  unsigned int instances = 0;      ///< that each name has
  std::vector<pid_t> pids;
};

/// The sleeping processes: 200 names with 10 instances each.
class Population {
 public:
  static constexpr unsigned int kNames = 200;
  static constexpr unsigned int kInstances = 10;
  static constexpr unsigned int kFewNames = 20;

  /// Starts them all. @throws std::runtime_error, Interruption
  Population();

  /// The first 20 names, or all 200, with 10 instances each.
  Watched few() const { return firstNames(kFewNames); }
  Watched all() const { return firstNames(kNames); }

  /// The very processes of `few`, under 200 names with one instance each. They
  /// bear these names only while they are spread.
  Watched spread() const;

  /// Gives the processes of `few` a name of its own each, or their own name back.
  /// @throws std::runtime_error, Interruption
  void setSpread(bool isSpread) const;

 private:
  Watched firstNames(unsigned int count) const;
  void awaitNames(bool isSpread) const;

  std::vector<Child> fChildren;  ///< the instances of a name side by side
};
