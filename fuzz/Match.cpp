// A process with any name and any command line, seen by whoever asks for any name.

#include <nlohmann/json.hpp>

#include "fuzz/Fuzz.h"
#include "host/control/JsonViews.h"
#include "tests/host/process/FakeProc.h"

FUZZ_TARGET(match) {
  static const FakeProc proc;
  static const ProcessTree tree(proc.path());
  constexpr std::string_view kNull("\0", 1);
  Input rest(input);
  const char state = "SRZXTt"[rest.byte() % 6];
  const unsigned int threads = rest.byte();
  const std::string comm = rest.upTo(kNull).substr(0, 15);
  const std::string name = rest.upTo(kNull);
  const std::string commandLine(rest.rest());
  proc.add(20, {comm, state, 1, 0, threads, 100, 0, commandLine});

  NameMatches found;
  REQUIRE(matchName(tree, name, std::nullopt, found) == 0);
  REQUIRE(found.matches.size() + found.nearMisses.size() <= 1 && found.leftOut == 0);
  const bool isDead = state == 'X' || (state == 'Z' && threads <= 1);
  const bool isThere = !found.matches.empty();
  REQUIRE(!isDead || !isThere);
  REQUIRE(isDead || comm != name || isThere);
  // A longer name is confirmed by one of the first words.
  const bool isCut = name.size() > comm.size() && comm.size() == 15 && name.starts_with(comm);
  REQUIRE(!isThere || comm == name || (isCut && commandLine.find(name) != std::string::npos));
  REQUIRE(isDead || !isCut || isThere || !(commandLine + '\0').starts_with(name + '\0'));
  REQUIRE((stateOfBearer(tree, 20, name) == state) == isThere);
  for (NearMiss const& miss : found.nearMisses) REQUIRE(!miss.why.empty());
  const auto json = nlohmann::json::parse(textOf(matchesJson(name, found)));
  REQUIRE(json["matches"].size() == found.matches.size());
}
