// The library as it is delivered.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <regex>
#include <set>
#include <string>

#include "framework/PUtils.h"
#include "plugin/PProcessWatchdogPlugin.h"

namespace {

std::string outputOf(std::string const& command) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), &pclose);
  std::string output;
  for (int byte = 0; (byte = std::fgetc(pipe.get())) != EOF;) output += static_cast<char>(byte);
  return output;
}

std::multiset<std::string> matches(std::string const& text, std::regex const& pattern) {
  return {std::sregex_token_iterator(text.begin(), text.end(), pattern, 1), {}};
}

TEST(PluginBinary, HoldsEveryMessageAsItIsWritten) {
  const std::string library = outputOf("cat '" WATCHDOG_LIBRARY "'");
  const auto messages = matches(outputOf("cat '" LOG_MESSAGES "'"), std::regex("\"(.*)\"\n"));
  EXPECT_EQ(messages.size(), 69U + 5U);  // and the value lines
  for (std::string message : messages) {
    if (message.starts_with("\\t")) message.replace(0, 2, "\t");
    const PString wide = PUtils::fromUtf8(message);
    const std::string bytes(reinterpret_cast<const char*>(wide.c_str()),
                            (wide.length() + 1) * sizeof(wchar_t));
    EXPECT_NE(library.find(bytes), std::string::npos) << message;
  }
}

TEST(PluginBinary, ExportsTheFactoryAndNeedsTheFrameworkAndTheStandardLibrary) {
  EXPECT_EQ(matches(outputOf("nm -DC --defined-only '" WATCHDOG_LIBRARY "'"),
                    std::regex("\\w+ [A-Za-z] (?!__(?:asan|odr_asan|ubsan|tsan))(.*)\n")),
            std::multiset<std::string>{"veskGetPlugin()"});
  const std::string section = outputOf("readelf -dW '" WATCHDOG_LIBRARY "'");
  auto needed = matches(section, std::regex("\\(NEEDED\\).*\\[(.*)\\]"));
  EXPECT_EQ(needed.erase("libvesk.so.1"), 1U);
  const std::regex standard(
      "(libstdc\\+\\+|libgcc_s|libc|libm|ld-linux[^.]*|lib(a|ub|t)san)\\.so.*");
  for (auto const& name : needed) EXPECT_TRUE(std::regex_match(name, standard)) << name;
}

// A `char` is widened by whoever returns it on one processor, by whoever takes it on another.
TEST(PluginBinary, ItsClientsSeeLimitsAbove127) {
  void* const library = ::dlopen(WATCHDOG_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << ::dlerror();
  PBaseptr<IPlugin> plugin;
  plugin = reinterpret_cast<IPlugin* (*)()>(::dlsym(library, "_Z13veskGetPluginv"))();
  IBase* instance = nullptr;
  ASSERT_EQ(plugin->getInstance(ID_IPROCESSWATCHDOGENTRY, instance), 0);
  PBaseptr<IProcessWatchdogEntry> entry;
  entry = static_cast<IProcessWatchdogEntry*>(instance);
  entry->setCpuLimit(static_cast<char>(200));
  EXPECT_EQ(int{entry->getCpuLimit()}, 200);
}

}  // namespace
