// The library as it is delivered.

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <regex>
#include <set>
#include <string>

#include "framework/PUtils.h"

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

}  // namespace
