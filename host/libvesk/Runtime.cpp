#include "host/libvesk/Runtime.h"

#include <map>
#include <mutex>
#include <utility>

#include "framework/PGuard.h"
#include "framework/PString.h"
#include "framework/veskGetInstance.h"
#include "plugin/PBaseptr.h"

namespace {

struct State {
  std::mutex mutex;
  std::map<PString, Runtime::Provider> providers;
  std::shared_ptr<IProcessUtilities> utilities;
};

State& state() {
  // Never destroyed: a client that keeps a service may outlive main().
  static State& theState = *new State;
  return theState;
}

}  // namespace

void Runtime::provide(PLiteral const& id, Provider provider) {
  const std::lock_guard lock(state().mutex);
  // The former one goes with the argument, which outlives the lock.
  std::swap(state().providers[id], provider);
}

void Runtime::provide(PLiteral const& id, IBase* instance) {
  // Shared, because a provider is copied and the pointers' own count is not
  // atomic.
  auto held = std::make_shared<PBaseptr<IBase>>();
  *held = instance;
  provide(id, [held = std::move(held)](IBase*& out) {
    out = held->get();
    return PResult::ok;
  });
}

void Runtime::install(std::shared_ptr<IProcessUtilities> utilities) {
  {
    const std::lock_guard lock(state().mutex);
    state().utilities.swap(utilities);
  }
  // The former ones end here, without the lock.
}

std::shared_ptr<IProcessUtilities> Runtime::processUtilities() {
  const std::lock_guard lock(state().mutex);
  return state().utilities;
}

void Runtime::reset() {
  std::map<PString, Provider> providers;
  {
    const std::lock_guard lock(state().mutex);
    providers.swap(state().providers);
  }
  install(nullptr);
}

int veskGetInstance(PLiteral const& id, IBase*& instance) noexcept {
  instance = nullptr;
  const int res = pGuarded([&] {
    Runtime::Provider provider;
    {
      const std::lock_guard lock(state().mutex);
      const auto found = state().providers.find(id);
      if (found == state().providers.end()) return PResult::notFound;
      provider = found->second;
    }
    return provider(instance);
  });
  if (res != PResult::ok) instance = nullptr;
  return res;
}
