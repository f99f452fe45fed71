#pragma once

#include "host/veskctl/View.h"

namespace ctl {

enum class ColourUse { automatic, always, never };

/// What is at the end of standard output.
class Terminal {
 public:
  /// Reads the environment: NO_COLOR, TERM, COLUMNS, and the locale's character set.
  Terminal(int descriptor, ColourUse colours);

  bool isTerminal() const { return fIsTerminal; }

  /// Whether the cursor can be moved.
  bool canMove() const { return fIsTerminal && !fIsDumb; }

  /// Asks for the size anew; now is the wall clock's.
  View view() const;

 private:
  int fDescriptor;
  bool fIsTerminal;
  bool fIsDumb;
  bool fHasColours;
  bool fIsUtf8;
};

}  // namespace ctl
