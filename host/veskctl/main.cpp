#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>

#include "host/services/Printable.h"
#include "host/veskctl/Answer.h"
#include "host/veskctl/Commands.h"
#include "host/veskctl/Completion.h"
#include "host/veskctl/HttpClient.h"

namespace {

using namespace ctl;

constexpr std::chrono::seconds kReading{10};
constexpr std::chrono::seconds kCompleting{2};

/// No socket must get the number of standard output. What is missing cannot be written.
void openMissingStreams() {
  int descriptor = 0;
  do {
    descriptor = ::open("/dev/null", O_RDONLY);
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  if (descriptor >= 0) ::close(descriptor);
}

void tell(std::string_view text) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::fputs(("veskctl: " + printable(text.substr(0, end)) + '\n').c_str(), stderr);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

int fail(Failure const& failure) {
  tell(failure.text);
  return static_cast<int>(failure.code);
}

std::string usualSocket() {
  const char* named = std::getenv("VESKD_SOCKET");
  return named != nullptr && *named != '\0' ? named : "/run/veskd.sock";
}

std::vector<std::string> namesOf(std::string const& socket) {
  HttpSettings settings;
  settings.socket = socket.empty() ? usualSocket() : socket;
  settings.timeout = kCompleting;
  HttpClient client(settings);
  const auto answer = ask(client, {"GET", "/v1/status"});
  std::vector<std::string> names;
  if (!std::holds_alternative<Answer>(answer)) return names;
  for (Json const& entry : listOf(std::get<Answer>(answer).json, "entries")) {
    const std::string name = textOf(entry, "name");
    if (printable(name) == name) names.push_back(name);
  }
  return names;
}

/// For the shells: a candidate on each line.
int runComplete(int argc, char** argv, Output const& output) {
  std::string text;
  for (std::string const& word : complete({argv + 2, argv + argc}, namesOf)) text += word + '\n';
  static_cast<void>(output.write(text));
  return 0;
}

HttpSettings settingsOf(Options const& options, Output const& output) {
  HttpSettings settings;
  settings.socket = options.socket;
  settings.output = output.descriptor();
  if (!options.command->isChange) settings.timeout = kReading;
  if (options.timeout) {
    settings.timeout = std::chrono::milliseconds(static_cast<long long>(*options.timeout * 1000));
    settings.silence = settings.timeout;
  }
  return settings;
}

int run(Options const& options, Output const& output) {
  const Terminal terminal(output.descriptor(), options.colours);
  HttpSettings settings = settingsOf(options, output);
  std::optional<Interrupts> interrupts;
  if (options.isFollow || options.watchSeconds > 0) settings.interrupts = &interrupts.emplace();
  HttpClient client(settings);
  const Context context{options,
                        client,
                        terminal,
                        output,
                        [&](std::chrono::milliseconds time) { return interrupts->wait(time); },
                        tell,
                        [&](IPausable* shown) { interrupts->setPausable(shown); }};
  const Outcome outcome = options.command->run(context);
  if (auto const* failure = std::get_if<Failure>(&outcome)) return fail(*failure);
  return static_cast<int>(std::get<ExitCode>(outcome));
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  openMissingStreams();
  const Output output(STDOUT_FILENO);
  try {
    if (argc > 1 && argv[1] == std::string_view("complete")) return runComplete(argc, argv, output);
    const auto options = parseOptions(argc, argv, usualSocket());
    if (auto const* failure = std::get_if<Failure>(&options)) return fail(*failure);
    if (auto const* text = std::get_if<Text>(&options)) {
      const auto failure = output.write(text->text);
      return failure ? fail(*failure) : 0;
    }
    return run(std::get<Options>(options), output);
  } catch (std::exception const& error) {
    return fail({ExitCode::notUnderstood, error.what()});
  }
}
