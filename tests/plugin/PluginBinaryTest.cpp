// The library as it is delivered.

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <regex>
#include <set>
#include <string>

#include "framework/PUtils.h"

namespace {

std::string read(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string outputOf(std::string const& command) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), &pclose);
  std::string output;
  for (int byte = 0; pipe && (byte = std::fgetc(pipe.get())) != EOF;) {
    output += static_cast<char>(byte);
  }
  return output;
}

/// What the first group of `pattern` is in every match.
std::multiset<std::string> matches(std::string const& text, std::regex const& pattern) {
  return {std::sregex_token_iterator(text.begin(), text.end(), pattern, 1), {}};
}

TEST(PluginBinary, HoldsEveryMessageAsItIsWritten) {
  const std::string library = read(WATCHDOG_LIBRARY);
  const std::string text = read(LOG_MESSAGES);
  const auto messages = matches(text, std::regex("\"(.*)\"\n"));
  EXPECT_EQ(messages.size(), 69U + 5U);  // and the value lines
  for (std::string message : messages) {
    if (message.starts_with("\\t")) message.replace(0, 2, "\t");
    const PString wide = PUtils::fromUtf8(message);
    const std::string bytes(reinterpret_cast<const char*>(wide.c_str()),
                            (wide.length() + 1) * sizeof(wchar_t));
    EXPECT_NE(library.find(bytes), std::string::npos) << message;
  }
}

TEST(PluginBinary, ExportsTheFactoryAlone) {
  const std::string symbols = outputOf("nm -DC --defined-only '" WATCHDOG_LIBRARY "'");
  std::multiset<std::string> exported = matches(symbols, std::regex("\\w+ [A-Za-z] (.*)\n"));
  const std::regex ofSanitizers("__(asan|odr_asan|ubsan|tsan).*");
  std::erase_if(exported, [&](auto const& name) { return std::regex_match(name, ofSanitizers); });
  EXPECT_EQ(exported, std::multiset<std::string>{"veskGetPlugin()"});
}

TEST(PluginBinary, NeedsTheFrameworkAndTheStandardLibraryAlone) {
  const std::string section = outputOf("readelf -dW '" WATCHDOG_LIBRARY "'");
  const auto needed = matches(section, std::regex("\\(NEEDED\\).*\\[(.*)\\]"));
  EXPECT_EQ(needed.count("libvesk.so.1"), 1U);
  const std::regex allowed(
      "libvesk\\.so\\.1|libstdc\\+\\+\\.so\\.6|libgcc_s\\.so\\.1|libc\\.so\\.6|libm\\.so\\.6|"
      "ld-linux.*|lib(asan|ubsan|tsan)\\.so\\..*");
  for (auto const& name : needed) EXPECT_TRUE(std::regex_match(name, allowed)) << name;
}

}  // namespace
