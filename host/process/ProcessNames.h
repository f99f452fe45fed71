#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/process/DescriptorBudget.h"
#include "host/process/IProcessEvents.h"
#include "host/process/KeptFile.h"
#include "host/process/ProcessTree.h"

/// Which processes bear which name, as of the last look at the process table.
/// The name is the one that the kernel keeps (`comm`).
///
/// A look reads the name of every process, on descriptors kept from look to look.
/// Where the kernel reports what happens to processes, it reads only the names of
/// those to which something happened. One thread at a time.
class ProcessNames {
 public:
  using Pids = std::vector<unsigned int>;

  /// @param tree, budget outlive this object.
  /// @param listen none where the kernel does not report.
  ProcessNames(ProcessTree const& tree, DescriptorBudget& budget, ListenToEvents listen);

  /// Looks at the table.
  /// @param changed filled with the processes that are gone or took another name.
  /// @return 0, or the code for which it cannot be read as a whole.
  int look(Pids& changed);

  /// Looks at one process that may have changed since the last look.
  void lookAt(unsigned int pid) noexcept;

  /// The processes of one name, in ascending order. Valid until the next look.
  Pids const& bearing(std::string const& comm) const;

 private:
  struct Named {
    unsigned int pid = 0;
    std::string comm{};
    KeptFile file{};
  };
  using Processes = std::vector<Named>;

  int scan(Pids& changed);
  int follow(Pids& changed);
  bool takeEvents();
  void listenNowAndThen();
  void forgetAll() noexcept;
  int examine(unsigned int pid, Pids& changed);
  int readName(Named& process, std::string& comm);
  int update(Named& process, Pids& changed);
  void addName(Named const& process);
  void removeName(Named const& process);
  Processes::iterator positionOf(unsigned int pid);

  ProcessTree const& fTree;
  DescriptorBudget& fBudget;
  ListenToEvents fListen;
  std::unique_ptr<IProcessEvents> fEvents;  ///< null while nobody listens
  Pids fHappenedTo;
  Processes fProcesses;  ///< in ascending order
  std::unordered_map<std::string, Pids> fBearers;
  bool fIsWhole = false;  ///< the last look saw all there was
  unsigned int fLooksSinceScan = 0;
  unsigned int fLooksDeaf = 0;
  unsigned int fLossesInARow = 0;
};
