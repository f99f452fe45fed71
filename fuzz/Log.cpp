// Whatever is logged is one line of well-formed text, and says what it was given.

#include <utf8.h>

#include "framework/PString.h"
#include "framework/PUtils.h"
#include "fuzz/Fuzz.h"
#include "host/HoldRef.h"
#include "host/services/Logger.h"
#include "host/services/Printable.h"
#include "tests/host/services/CollectedLog.h"

namespace {

/// The bytes as characters, four to one, as much as there is before a null.
PString wideOf(std::string_view bytes) {
  std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
  bytes.copy(reinterpret_cast<char*>(text.data()), text.size() * sizeof(wchar_t));
  return PString(text.c_str());
}

void requirePrintable(std::string_view shown, std::string_view raw) {
  REQUIRE(utf8::is_valid(shown.begin(), shown.end()));
  for (auto at = shown.begin(); at != shown.end();) {
    const char32_t character = utf8::next(at, shown.end());
    REQUIRE(character == '\t' || (character >= ' ' && (character < 0x7f || character > 0x9f)));
  }
  REQUIRE(printable(shown) == shown);
  REQUIRE(!isPlain(raw) || shown == raw);
}

}  // namespace

FUZZ_TARGET(log) {
  requirePrintable(printable(input), input);
  const PString wide = wideOf(input);
  const PString name = PUtils::fromUtf8(input);
  const std::string utf8 = PUtils::toUtf8(name);
  REQUIRE(PUtils::fromUtf8(utf8) == name);
  const std::string wideUtf8 = PUtils::toUtf8(wide);
  requirePrintable(printable(wideUtf8), wideUtf8);

  CollectedLog log;
  const auto logger = holdRef(new Logger(log.output()));
  const auto number = static_cast<unsigned int>(input.size() * 2654435761U);
  const int result = -static_cast<int>(input.size());
  const std::uint64_t large = std::uint64_t{number} << (number % 32);
  logger->init(L"x");
  REQUIRE(logger->error(0, L"[%s] `%ls' %ls, pid %u, res=%d", "method", name.c_str(), wide.c_str(),
                        number, result) == 0);
  REQUIRE(logger->debug(0, L"(average=%llu, limit=%lu) `%ls', pid %u'", large, 5UL, name.c_str(),
                        number) == 0);
  REQUIRE(logger->init(name) == (name.isEmpty() ? -EINVAL : 0));
  log.logger()->info("{}", input);
  const auto lines = log.lines();
  REQUIRE(lines.size() == 3);
  const std::string pid = std::to_string(number);
  REQUIRE(lines[0] == "error x: [method] `" + printable(utf8) + "' " + printable(wideUtf8) +
                          ", pid " + pid + ", res=" + std::to_string(result));
  REQUIRE(lines[1] == "debug x: (average=" + std::to_string(large) + ", limit=5) `" +
                          printable(utf8) + "', pid " + pid + "'");
  REQUIRE(lines[2] == "info test: " + printable(input));
}
