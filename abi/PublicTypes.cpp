// Everything that a client's compiler sees: the debug information of this library is
// what the record of the public classes is made from. It is never loaded.

#include "PublicHeaders.h"

// A template has a layout only where it is used.
template class PPtr<IBase>;
template class PBaseptr<IBase>;
