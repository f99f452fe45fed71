// The order of the virtual operations is what binaries built apart agree on.

#include <gtest/gtest.h>

#include <array>
#include <bit>

#include "framework/IConfigManager.h"
#include "framework/IOSRestart.h"
#include "plugin/PProcessWatchdogPlugin.h"

namespace {

/// The slot that a pointer to a virtual member leads to; -1 for another member.
/// The Itanium ABI marks the offset itself, ARM's variant the adjustment.
template <class Operation>
std::ptrdiff_t slot(Operation operation) {
  const auto parts = std::bit_cast<std::array<std::ptrdiff_t, 2>>(operation);
#if defined(__arm__) || defined(__aarch64__)
  const std::ptrdiff_t offset = (parts[1] & 1) != 0 ? parts[0] : -1;
#else
  const std::ptrdiff_t offset = (parts[0] & 1) != 0 ? parts[0] - 1 : -1;
#endif
  return offset < 0 ? -1 : offset / static_cast<std::ptrdiff_t>(sizeof(void*));
}

/// Expects the operations in consecutive slots, the first of them in `expected`.
template <class... Operations>
void expectOrder(std::ptrdiff_t expected, Operations... operations) {
  for (const std::ptrdiff_t found : {slot(operations)...}) EXPECT_EQ(found, expected++);
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
