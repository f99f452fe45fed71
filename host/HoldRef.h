#pragma once

#include <memory>

/// Holds one reference to an object that counts its holders, for as long as a
/// copy of the result lives. Unlike the pointers of the plug-in side, copies may
/// live on different threads.
template <class T>
std::shared_ptr<T> holdRef(T* object) {
  if (object != nullptr) object->incRef();
  return std::shared_ptr<T>(object, [](T* held) {
    if (held != nullptr) held->decRef();
  });
}
