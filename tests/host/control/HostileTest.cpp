// The socket as a file, and clients that mean no good.

#include <malloc.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "tests/host/control/ControlFixture.h"
#include "tests/host/daemon/ChildProcess.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class ControlSocketTest : public ControlFixture {};
class HostileClientTest : public ControlFixture {};

TEST_F(ControlSocketTest, TakesThePlaceOfADeadHostOnly) {
  if (::geteuid() == 0) settings.owner = settings.group = "1";
  const UniqueFd other(::open(folder.path("").c_str(), O_RDONLY));  // as any user may
  ASSERT_EQ(::flock(other.get(), LOCK_EX), 0);
  folder.makeFile("socket.lock", "");  // of a dead host
  ASSERT_TRUE(open()) << cause;
  EXPECT_EQ(entriesOf(folder.path("")), 1);
  struct stat status {};
  ASSERT_EQ(::lstat(settings.socket.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, S_IFSOCK | 0660);
  EXPECT_EQ(status.st_uid, settings.owner.empty() ? ::geteuid() : 1);
  EXPECT_EQ(status.st_gid, settings.group.empty() ? ::getegid() : 1);
  auto first = std::move(server);
  EXPECT_FALSE(open());
  EXPECT_THAT(cause, HasSubstr("is another host running?"));
  EXPECT_TRUE(stillAnswers());
  // As if it was killed: nobody removes the socket from its new place.
  std::filesystem::rename(settings.socket, folder.path("stale"));
  first.reset();
  settings.socket = folder.path("stale");
  EXPECT_TRUE(open()) << cause;
  EXPECT_TRUE(stillAnswers());
  std::filesystem::remove(settings.socket);
  folder.makeFile("stale", "precious");
  server.reset();
  EXPECT_FALSE(open());
  EXPECT_THAT(cause, HasSubstr("not a socket"));
  EXPECT_EQ(contentOf(settings.socket), "precious");
  for (std::string const& wrong : {folder.path("none/s"), folder.path(std::string(108, 'x'))}) {
    settings.socket = wrong;
    EXPECT_FALSE(open());
    EXPECT_THAT(cause, HasSubstr(wrong + ": "));
  }
  settings.socket = folder.path("refused");
  settings.owner = "nobody-of-that-name";
  EXPECT_FALSE(open());
  EXPECT_FALSE(std::filesystem::exists(settings.socket));
}

TEST_F(HostileClientTest, OutlivesThousandsOfConnections) {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
  const auto threads = entriesOf("/proc/self/task");
  const auto files = entriesOf("/proc/self/fd");
  ASSERT_TRUE(open());
  std::vector<RawClient> clients;
  while (clients.size() < 3000) {
    RawClient client(settings.socket, SOCK_NONBLOCK);
    // The queue is full for a moment, or descriptors have run out.
    if (client.error() == EBADF) break;
    if (client.error() == 0) clients.push_back(std::move(client));
  }
  EXPECT_GT(clients.size(), 500);
  EXPECT_LE(entriesOf("/proc/self/task"), threads + 64 + 8);
  EXPECT_LE(entriesOf("/proc/self/fd"), files + std::ssize(clients) + 64 + 8);
  clients.clear();
  EXPECT_TRUE(stillAnswers());
}

TEST_F(HostileClientTest, CutsWhoeverIsLateHoweverBusy) {
  ASSERT_TRUE(open(std::chrono::milliseconds(500)));
  std::vector<RawClient> drippers;
  for (int i = 0; i < 64; ++i) drippers.emplace_back(settings.socket);
  const std::string head = "GET /v1/status HTTP/1.1\r\nX: " + std::string(30'000, 'x');
  for (std::size_t i = 0; !drippers.empty() && i < head.size(); ++i) {
    std::erase_if(drippers,
                  [&](RawClient const& client) { return !client.send(head.substr(i, 1)); });
    ::poll(nullptr, 0, 1);
  }
  EXPECT_TRUE(drippers.empty());
  EXPECT_TRUE(stillAnswers());
}

TEST_F(HostileClientTest, NeverWaitsForAReaderThatDoesNotRead) {
  ASSERT_TRUE(open(std::chrono::milliseconds(500)));
  const RawClient lazy(settings.socket);
  lazy.send(requestText("GET", "/v1/events?follow=true&from=1"));
  lazy.receive("\r\n\r\n");
  WatchRecord record;
  record.text = std::string(200, 'x');
  journal->append(record);
  const auto before = ::mallinfo2().uordblks;
  for (int i = 0; i < 100'000; ++i) journal->append(record);
  EXPECT_LT(::mallinfo2().uordblks, before + 4'000'000);
  lazy.awaitCut();
  EXPECT_TRUE(stillAnswers());
}

TEST_F(HostileClientTest, LeavesRoomBesideStreams) {
  ASSERT_TRUE(open());
  std::vector<RawClient> clients;
  const auto follow = [&] {
    clients.emplace_back(settings.socket).send(requestText("GET", "/v1/events?follow=true"));
    return clients.back().receive("\r\n\r\n");
  };
  for (int i = 0; i < 32; ++i) EXPECT_THAT(follow(), StartsWith("HTTP/1.1 200"));
  EXPECT_THAT(ask("GET", "/v1/events?follow=true"), HasSubstr("too many streams"));
  clients.clear();
  while (!follow().starts_with("HTTP/1.1 200")) continue;
}

TEST_F(HostileClientTest, StopsWhateverClientsDo) {
  ASSERT_TRUE(open());  // with an hour of patience
  const RawClient endless(settings.socket);
  endless.send("POST /v1/entries HTTP/1.1\r\nHost: v\r\nTransfer-Encoding: chunked\r\n\r\n");
  int parts = 0;
  while (parts < 1000 && endless.send("1000\r\n" + std::string(0x1000, ' ') + "\r\n")) ++parts;
  EXPECT_LT(parts, 1000);
  const RawClient idle(settings.socket);
  const RawClient half(settings.socket);
  half.send("POST /v1/entries HTTP/1.1\r\nContent-Length: 9\r\n\r\n{");
  const RawClient lazy(settings.socket);
  lazy.send(requestText("GET", "/v1/events?follow=true&from=1"));
  lazy.receive("\r\n\r\n");
  for (int i = 0; i < 5000; ++i) journal->append({});
  EXPECT_TRUE(stillAnswers());
  server.reset();
  EXPECT_FALSE(std::filesystem::exists(settings.socket));
}

}  // namespace
