// The order of the virtual operations is what binaries built apart agree on.

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <vector>

#include "framework/IConfig.h"
#include "framework/IConfigManager.h"
#include "framework/IEventDispatcher.h"
#include "framework/IExtCounters.h"
#include "framework/ILogger.h"
#include "framework/IOSRestart.h"
#include "framework/IPlugin.h"
#include "plugin/PBaseptr.h"
#include "watchdog/IProcessWatchdog.h"

namespace {

/// The slot that a pointer to a virtual member leads to; -1 for another member.
/// The Itanium ABI marks the offset itself, ARM's variant the adjustment.
template <class Operation>
std::ptrdiff_t slot(Operation operation) {
  std::array<std::ptrdiff_t, 2> parts{};
  static_assert(sizeof operation == sizeof parts);
  std::memcpy(parts.data(), &operation, sizeof operation);
#if defined(__arm__) || defined(__aarch64__)
  const bool isVirtual = (parts[1] & 1) != 0;
  const std::ptrdiff_t offset = parts[0];
#else
  const bool isVirtual = (parts[0] & 1) != 0;
  const std::ptrdiff_t offset = parts[0] - 1;
#endif
  return isVirtual ? offset / static_cast<std::ptrdiff_t>(sizeof(void*)) : -1;
}

/// Expects the operations in consecutive slots, the first of them in `first`.
template <class... Operations>
void expectOrder(std::ptrdiff_t first, Operations... operations) {
  const std::vector<std::ptrdiff_t> slots = {slot(operations)...};
  for (std::size_t i = 0; i < slots.size(); ++i) {
    EXPECT_EQ(slots[i], first + static_cast<std::ptrdiff_t>(i)) << "operation " << i;
  }
}

template <class I, class... Operations>
void expectInterface(Operations... operations) {
  expectOrder(0, &I::incRef, &I::decRef, operations...);
}

TEST(SlotOrder, OfTheFramework) {
  expectInterface<IBase>();
  expectInterface<IPlugin>(&IPlugin::init, &IPlugin::getInterfaces, &IPlugin::getInstance);
  expectInterface<ILogger>(&ILogger::init, &ILogger::setLevel, &ILogger::getLevel, &ILogger::flush,
                           &ILogger::info, &ILogger::error, &ILogger::debug);
  expectInterface<IConfigManager>(&IConfigManager::loadByPath, &IConfigManager::loadByID);
  expectInterface<IConfig>(&IConfig::getID, &IConfig::contains, &IConfig::getString,
                           &IConfig::getInt, &IConfig::getUInt, &IConfig::getLong,
                           &IConfig::getDouble, &IConfig::getBool);
  expectInterface<IEventListener>(&IEventListener::onEvent);
  expectInterface<IEventDispatcher>(&IEventDispatcher::subscribe, &IEventDispatcher::unsubscribe,
                                    &IEventDispatcher::postEvent);
  expectInterface<IExtCounters>(&IExtCounters::increment, &IExtCounters::getValue);
  expectInterface<IOSRestart>(&IOSRestart::restart);
}

TEST(SlotOrder, OfTheWatchdog) {
  using W = IProcessWatchdog;
  expectInterface<W>(&W::addProcessEntry, &W::removeProcessEntry, &W::containsProcess,
                     &W::getProcessInfo);
  using I = IProcessWatchdogInfo;
  expectInterface<I>(&I::getName, &I::getPeriod, &I::getCpuEnabled, &I::getCpuLimit,
                     &I::getMemEnabled, &I::getMemLimit, &I::getInstEnabled, &I::getInstLimit,
                     &I::getRespawnEnabled, &I::getRespawnLimit, &I::getShouldCountOnlyDiffParents,
                     &I::getShouldCountOnlyRunning, &I::getShouldSendEvent, &I::getAction,
                     &I::getExecutable, &I::getArguments, &I::getWorkingDir);
  using E = IProcessWatchdogEntry;
  expectOrder(19, &E::setName, &E::setPeriod, &E::setCpuEnabled, &E::setCpuLimit, &E::setMemEnabled,
              &E::setMemLimit, &E::setInstEnabled, &E::setInstLimit, &E::setRespawnEnabled,
              &E::setRespawnLimit, &E::setShouldCountOnlyDiffParents, &E::setShouldCountOnlyRunning,
              &E::setShouldSendEvent, &E::setAction, &E::setExecutable, &E::setArguments,
              &E::setWorkingDir);
}

TEST(SlotOrder, OfThePointersBehindTheTwoSlotsOfTheirDestructor) {
  expectOrder(2, &PPtr<int>::newCounter, &PPtr<int>::freePtr);
  expectOrder(2, &PBaseptr<IBase>::newCounter, &PBaseptr<IBase>::freePtr);
}

}  // namespace
