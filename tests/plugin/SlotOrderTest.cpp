// The order of the virtual operations is what binaries built apart agree on.

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "framework/IConfigManager.h"
#include "framework/IOSRestart.h"
#include "plugin/PProcessWatchdogPlugin.h"

namespace {

using Slot = int (*)();
int called = -1;  ///< the slot that was called last

/// Functions that ignore what they are given and tell their place.
template <int... kPlaces>
constexpr std::array<Slot, sizeof...(kPlaces)> makeTable(std::integer_sequence<int, kPlaces...>) {
  return {[] { return called = kPlaces; }...};
}
constexpr auto kTable = makeTable(std::make_integer_sequence<int, 64>());
const Slot* object = kTable.data();  ///< of every class: a pointer to its table, and no more

/// A reference to nothing in particular, or a value.
template <class Type>
Type argument() {
  alignas(std::max_align_t) static std::byte something[64];
  if constexpr (std::is_reference_v<Type>) {
    return *static_cast<std::remove_reference_t<Type>*>(static_cast<void*>(something));
  } else {
    return Type{};
  }
}

/// The slot that a call goes to, found by the call: pointers to members look different on
/// different processors.
template <class Class, class... Arguments>
[[gnu::no_sanitize("undefined")]] int call(auto operation) {
  void* volatile address = &object;  // or the compiler would know better
  called = -1;
  static_cast<void>((static_cast<Class*>(address)->*operation)(argument<Arguments>()...));
  return called;
}
template <class Result, class Class, class... Arguments>
int slot(Result (Class::*operation)(Arguments...)) {
  return call<Class, Arguments...>(operation);
}
template <class Result, class Class, class... Arguments>
int slot(Result (Class::*operation)(Arguments...) const) {
  return call<Class, Arguments...>(operation);
}
template <class Result, class Class, class... Arguments>
int slot(Result (Class::*operation)(Arguments..., ...)) {
  return call<Class, Arguments...>(operation);
}

/// Expects the operations in consecutive slots, the first of them in `expected`.
template <class... Operations>
void expectOrder(int expected, Operations... operations) {
  for (const int found : {slot(operations)...}) EXPECT_EQ(found, expected++);
}

TEST(SlotOrder, IsThatOfTheContract) {
  expectOrder(0, &IPlugin::incRef, &IPlugin::decRef, &IPlugin::init, &IPlugin::getInterfaces,
              &IPlugin::getInstance);
  expectOrder(2, &ILogger::init, &ILogger::setLevel, &ILogger::getLevel, &ILogger::flush,
              &ILogger::info, &ILogger::error, &ILogger::debug);
  expectOrder(2, &IConfigManager::loadByPath, &IConfigManager::loadByID);
  expectOrder(2, &IConfig::getID, &IConfig::contains, &IConfig::getString, &IConfig::getInt,
              &IConfig::getUInt, &IConfig::getLong, &IConfig::getDouble, &IConfig::getBool);
  expectOrder(2, &IEventListener::onEvent);
  expectOrder(2, &IEventDispatcher::subscribe, &IEventDispatcher::unsubscribe,
              &IEventDispatcher::postEvent);
  expectOrder(2, &IExtCounters::increment, &IExtCounters::getValue);
  expectOrder(2, &IOSRestart::restart);
  expectOrder(2, &IProcessWatchdog::addProcessEntry, &IProcessWatchdog::removeProcessEntry,
              &IProcessWatchdog::containsProcess, &IProcessWatchdog::getProcessInfo);
  using E = IProcessWatchdogEntry;
  expectOrder(2, &E::getName, &E::getPeriod, &E::getCpuEnabled, &E::getCpuLimit, &E::getMemEnabled,
              &E::getMemLimit, &E::getInstEnabled, &E::getInstLimit, &E::getRespawnEnabled,
              &E::getRespawnLimit, &E::getShouldCountOnlyDiffParents, &E::getShouldCountOnlyRunning,
              &E::getShouldSendEvent, &E::getAction, &E::getExecutable, &E::getArguments,
              &E::getWorkingDir, &E::setName, &E::setPeriod, &E::setCpuEnabled, &E::setCpuLimit,
              &E::setMemEnabled, &E::setMemLimit, &E::setInstEnabled, &E::setInstLimit,
              &E::setRespawnEnabled, &E::setRespawnLimit, &E::setShouldCountOnlyDiffParents,
              &E::setShouldCountOnlyRunning, &E::setShouldSendEvent, &E::setAction,
              &E::setExecutable, &E::setArguments, &E::setWorkingDir);
  expectOrder(2, &PBaseptr<IBase>::newCounter, &PBaseptr<IBase>::freePtr);
}

}  // namespace
