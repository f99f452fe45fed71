// The kernel's process connector: a netlink group on which it reports forks,
// executions, changes of name and ends.

#include <linux/cn_proc.h>
#include <linux/connector.h>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>

#include "host/process/IProcessEvents.h"
#include "host/process/UniqueFd.h"

namespace {

/// What the kernel may hold for this process between two looks. With its
/// bookkeeping that is room for some 5,000 events.
constexpr int kQueueSize = 2 << 20;

/// How many messages one call takes.
constexpr std::size_t kBatch = 32;

/// Whoever forks faster than this reads must not hold it for ever.
constexpr std::size_t kMostBatches = 1024;

/// More than any message has.
constexpr std::size_t kMessageSize = 256;

/// What happened. Older and newer headers have the names in different places.
enum What : unsigned int {
  kAnswer = 0,
  kFork = 0x1,
  kExecute = 0x2,
  kRename = 0x200,
  kExit = 0x80000000U
};

/// More processors than any machine has.
constexpr std::size_t kMostProcessors = 1U << 16U;

constexpr std::size_t kEventOffset = NLMSG_HDRLEN + sizeof(cn_msg);

/// What is read of a message.
struct Report {
  unsigned int sequence = 0;
  unsigned int answerTo = 0;  ///< one more than what was asked with
  proc_event event{};

  bool isAnswer() const { return static_cast<unsigned int>(event.what) == kAnswer; }
};

/// Tells the answer to this process from answers to others.
unsigned int ownMark() { return static_cast<unsigned int>(::getpid()); }

/// Receives messages, several with one call.
class Mailbox {
 public:
  Mailbox() {
    for (std::size_t i = 0; i < kBatch; ++i) {
      fParts.at(i) = {fTexts.at(i).data(), kMessageSize};
      msghdr& header = fHeaders.at(i).msg_hdr;
      header.msg_name = &fSenders.at(i);
      header.msg_iov = &fParts.at(i);
      header.msg_iovlen = 1;
    }
  }

  /// @return how many messages came, or -1 with errno, EAGAIN for none.
  int receive(UniqueFd const& socket) {
    for (auto& header : fHeaders) header.msg_hdr.msg_namelen = sizeof(sockaddr_nl);
    return ::recvmmsg(socket.get(), fHeaders.data(), kBatch, MSG_DONTWAIT, nullptr);
  }

  /// @return nothing for a message that is not a report of the kernel's.
  std::optional<Report> report(std::size_t index) const {
    const std::size_t length = fHeaders.at(index).msg_len;
    if (fSenders.at(index).nl_pid != 0 || length < kEventOffset) return std::nullopt;
    // Copied, since a message has no regard for alignment.
    cn_msg message{};
    std::memcpy(&message, fTexts.at(index).data() + NLMSG_HDRLEN, sizeof message);
    if (message.id.idx != CN_IDX_PROC || message.id.val != CN_VAL_PROC) return std::nullopt;
    Report report{message.seq, message.ack, {}};
    std::memcpy(&report.event, fTexts.at(index).data() + kEventOffset,
                std::min(length - kEventOffset, sizeof report.event));
    return report;
  }

 private:
  std::array<std::array<char, kMessageSize>, kBatch> fTexts{};
  std::array<sockaddr_nl, kBatch> fSenders{};
  std::array<iovec, kBatch> fParts{};
  std::array<mmsghdr, kBatch> fHeaders{};
};

/// Whom an event is about, if that is a process rather than a thread.
std::optional<unsigned int> subjectOf(proc_event const& event) {
  auto const& data = event.event_data;
  const auto of = [](int thread, int process) -> std::optional<unsigned int> {
    if (thread != process) return std::nullopt;
    return static_cast<unsigned int>(process);
  };
  switch (static_cast<unsigned int>(event.what)) {
    case kFork:
      return of(data.fork.child_pid, data.fork.child_tgid);
    case kExecute:
      return of(data.exec.process_pid, data.exec.process_tgid);
    case kRename:
      return of(data.comm.process_pid, data.comm.process_tgid);
    case kExit:
      return of(data.exit.process_pid, data.exit.process_tgid);
    default:
      return std::nullopt;
  }
}

class ProcessConnector : public IProcessEvents {
 public:
  explicit ProcessConnector(UniqueFd socket) : fSocket(std::move(socket)) {}
  ~ProcessConnector() override { request(fSocket, PROC_CN_MCAST_IGNORE); }

  bool take(std::vector<unsigned int>& pids) override {
    bool isWhole = true;
    for (std::size_t batch = 0; batch < kMostBatches; ++batch) {
      const int count = fMailbox.receive(fSocket);
      if (count < 0 && errno == EAGAIN) break;
      if (count < 0 && errno != EINTR) isWhole = false;
      for (int i = 0; i < count; ++i) isWhole &= read(static_cast<std::size_t>(i), pids);
      if (batch + 1 == kMostBatches) isWhole = false;
    }
    // One loss must not show again at the next look as a gap in the numbers.
    if (!isWhole) fExpected.clear();
    return isWhole;
  }

  /// Asks the kernel for its reports. @return whether it agrees.
  bool listen() {
    if (!request(fSocket, PROC_CN_MCAST_LISTEN)) return false;
    // The answer is in the queue by now, behind what happened meanwhile; outside
    // the first PID namespace there is none.
    int count = 0;
    while ((count = fMailbox.receive(fSocket)) > 0) {
      for (int i = 0; i < count; ++i) {
        const auto report = fMailbox.report(static_cast<std::size_t>(i));
        if (report && report->isAnswer() && report->answerTo == ownMark() + 1) {
          return report->event.event_data.ack.err == 0;
        }
      }
    }
    return false;
  }

  static bool request(UniqueFd const& socket, proc_cn_mcast_op operation) {
    std::array<char, NLMSG_SPACE(sizeof(cn_msg) + sizeof operation)> text{};
    nlmsghdr header{};
    header.nlmsg_len = NLMSG_LENGTH(sizeof(cn_msg) + sizeof operation);
    header.nlmsg_type = NLMSG_DONE;
    cn_msg message{};
    message.id = {CN_IDX_PROC, CN_VAL_PROC};
    message.ack = ownMark();
    message.len = sizeof operation;
    std::memcpy(text.data(), &header, sizeof header);
    std::memcpy(text.data() + NLMSG_HDRLEN, &message, sizeof message);
    std::memcpy(text.data() + kEventOffset, &operation, sizeof operation);
    return ::send(socket.get(), text.data(), header.nlmsg_len, 0) >= 0;
  }

 private:
  /// @return false when something before this message was lost: each processor
  ///         counts its own messages, those it had no memory for included.
  bool read(std::size_t index, std::vector<unsigned int>& pids) {
    const auto report = fMailbox.report(index);
    if (!report) return true;
    const std::size_t cpu = report->event.cpu;
    if (cpu >= kMostProcessors) return report->isAnswer();
    if (cpu >= fExpected.size()) fExpected.resize(cpu + 1);
    auto& expected = fExpected[cpu];
    if (report->isAnswer()) {
      // Not every kernel counts what it answers to others.
      expected.reset();
      return true;
    }
    if (const auto pid = subjectOf(report->event)) pids.push_back(*pid);
    const bool isNext = !expected || *expected == report->sequence;
    expected = report->sequence + 1;
    return isNext;
  }

  UniqueFd fSocket;
  Mailbox fMailbox;
  std::vector<std::optional<unsigned int>> fExpected;  ///< the next message, by processor
};

}  // namespace

std::unique_ptr<IProcessEvents> listenToKernel() {
  UniqueFd socket(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_CONNECTOR));
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = CN_IDX_PROC;
  if (!socket || ::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    return nullptr;
  }
  // Without the right to more than usual, the usual has to do.
  if (::setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUFFORCE, &kQueueSize, sizeof kQueueSize) != 0) {
    ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUF, &kQueueSize, sizeof kQueueSize);
  }
  auto connector = std::make_unique<ProcessConnector>(std::move(socket));
  if (!connector->listen()) return nullptr;
  return connector;
}
