#include "host/control/HttpListener.h"

#include <microhttpd.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

/// Enough for a handler; 64 of the default size might be more than a device has.
constexpr std::size_t kStackBytes = std::size_t{256} * 1024;

constexpr std::size_t kPieceBytes = 4096;

/// Answered where there is no memory for an answer.
constexpr std::string_view kOutOfMeans =
    R"({"error":{"code":"unavailable","text":"the host is out of means"}})"
    "\n";

constexpr std::string_view kTooManyStreams =
    R"({"error":{"code":"unavailable","text":"too many streams"}})"
    "\n";

int socketOf(MHD_Connection* connection) {
  return MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
}

/// The pid of the other end, if it is on this machine.
std::optional<unsigned int> clientOf(int socket) {
  ucred credentials{};
  socklen_t size = sizeof credentials;
  if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) return std::nullopt;
  if (credentials.pid <= 0) return std::nullopt;
  return static_cast<unsigned int>(credentials.pid);
}

/// Whether the other end is gone, rather than just done with asking.
bool isHungUp(int socket) {
  pollfd end{socket, 0, 0};
  return ::poll(&end, 1, 0) > 0 && (end.revents & (POLLHUP | POLLERR)) != 0;
}

bool announcesMoreThan(std::size_t most, MHD_Connection* connection) {
  const char* length =
      MHD_lookup_connection_value(connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_CONTENT_LENGTH);
  if (length == nullptr) return false;
  unsigned long long bytes = 0;
  const auto [end, error] = std::from_chars(length, length + std::strlen(length), bytes);
  return error != std::errc() || bytes > most;
}

MHD_Result queue(MHD_Connection* connection, unsigned int status, MHD_Response* response) {
  if (response == nullptr) return MHD_NO;
  const MHD_Result result = MHD_queue_response(connection, status, response);
  MHD_destroy_response(response);
  return result;
}

/// Not a matter of memory that the answer would need.
MHD_Result queueUnavailable(MHD_Connection* connection, std::string_view json) {
  // The library takes it as changeable, but changes nothing of this kind.
  auto* text = const_cast<char*>(json.data());
  MHD_Response* response =
      MHD_create_response_from_buffer(json.size(), text, MHD_RESPMEM_PERSISTENT);
  if (response != nullptr) {
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, "application/json");
  }
  return queue(connection, MHD_HTTP_SERVICE_UNAVAILABLE, response);
}

}  // namespace

/// What the library calls. It is C: nothing may be thrown through it.
struct HttpListener::Callbacks {
  /// A request that is coming in.
  struct Incoming {
    HttpRequest request;
    bool isBegun = false;
    bool isBeingAnswered = false;
  };

  /// An answer without an end that is going out.
  struct Outgoing {
    Outgoing(HttpListener& listener, int connection, HttpStream source)
        : self(listener), socket(connection), stream(std::move(source)) {
      ++self.fStreams;
    }
    ~Outgoing() { --self.fStreams; }
    Outgoing(Outgoing const&) = delete;
    Outgoing& operator=(Outgoing const&) = delete;

    HttpListener& self;
    const int socket;
    const HttpStream stream;
    std::string text;
    std::size_t sent = 0;
  };

  static void onConnection(void* self, MHD_Connection* connection, void** /*unused*/,
                           MHD_ConnectionNotificationCode code) {
    Deadlines& deadlines = static_cast<HttpListener*>(self)->fDeadlines;
    const int socket = socketOf(connection);
    code == MHD_CONNECTION_NOTIFY_STARTED ? deadlines.begin(socket) : deadlines.lift(socket);
  }

  static void* onTarget(void* /*self*/, const char* target, MHD_Connection* /*connection*/) {
    try {
      auto incoming = std::make_unique<Incoming>();
      incoming->request.target = target;
      return incoming.release();
    } catch (std::exception const&) {
      return nullptr;
    }
  }

  static void onCompleted(void* self, MHD_Connection* connection, void** state,
                          MHD_RequestTerminationCode /*code*/) {
    auto& listener = *static_cast<HttpListener*>(self);
    const std::unique_ptr<Incoming> incoming(
        static_cast<Incoming*>(std::exchange(*state, nullptr)));
    listener.fDeadlines.begin(socketOf(connection));
    if (incoming == nullptr || !incoming->isBeingAnswered) return;
    const std::lock_guard lock(listener.fMutex);
    --listener.fBeingAnswered;
    listener.fAnswered.notify_all();
  }

  /// Called with the head, then with each part of the body, then at the end.
  static MHD_Result onRequest(void* self, MHD_Connection* connection, const char* /*url*/,
                              const char* method, const char* /*version*/, const char* part,
                              std::size_t* size, void** state) {
    auto* incoming = static_cast<Incoming*>(*state);
    if (incoming == nullptr) return MHD_NO;
    const bool isPart = *size > 0;
    try {
      auto& listener = *static_cast<HttpListener*>(self);
      if (!std::exchange(incoming->isBegun, true)) {
        incoming->request.method = method;
        incoming->request.isTooLarge = announcesMoreThan(listener.fLimits.bodyBytes, connection);
        // An answer at once, for it would be a waste of time to let it come.
        if (!incoming->request.isTooLarge) return MHD_YES;
      } else if (isPart) {
        return take(listener.fLimits, incoming->request, {part, std::exchange(*size, 0)});
      }
      if (!std::exchange(incoming->isBeingAnswered, true)) {
        const std::lock_guard lock(listener.fMutex);
        ++listener.fBeingAnswered;
      }
      return answer(listener, incoming->request, connection);
    } catch (std::exception const&) {
      return isPart ? MHD_NO : queueUnavailable(connection, kOutOfMeans);
    }
  }

  /// Cuts the connection where more comes than is taken: nothing can be answered before
  /// the end of a body, and it may have none.
  static MHD_Result take(HttpLimits const& limits, HttpRequest& request, std::string_view part) {
    if (request.body.size() + part.size() > limits.bodyBytes) return MHD_NO;
    request.body.append(part);
    return MHD_YES;
  }

  static MHD_Result answer(HttpListener& self, HttpRequest& request, MHD_Connection* connection) {
    const int socket = socketOf(connection);
    request.client = clientOf(socket);
    self.fDeadlines.lift(socket);
    HttpAnswer answer = self.fHandler(request);
    std::unique_ptr<Outgoing> outgoing;
    if (answer.stream) {
      outgoing = std::make_unique<Outgoing>(self, socket, std::move(answer.stream));
    }
    // Counted before it is compared, so that two at once do not both take the last place.
    if (outgoing != nullptr && self.fStreams > self.fLimits.streams) {
      self.fDeadlines.begin(socket);
      return queueUnavailable(connection, kTooManyStreams);
    }
    MHD_Response* response =
        outgoing != nullptr ? streamed(std::move(outgoing))
                            : MHD_create_response_from_buffer(
                                  answer.body.size(), answer.body.data(), MHD_RESPMEM_MUST_COPY);
    self.fDeadlines.begin(socket);
    if (response == nullptr) return MHD_NO;
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, answer.type.c_str());
    MHD_add_response_header(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
    if (!answer.allow.empty()) {
      MHD_add_response_header(response, MHD_HTTP_HEADER_ALLOW, answer.allow.c_str());
    }
    return queue(connection, answer.status, response);
  }

  static MHD_Response* streamed(std::unique_ptr<Outgoing> outgoing) {
    MHD_Response* response = MHD_create_response_from_callback(
        MHD_SIZE_UNKNOWN, kPieceBytes, &onPiece, outgoing.get(), &onStreamEnd);
    if (response != nullptr) static_cast<void>(outgoing.release());
    return response;
  }

  static ssize_t onPiece(void* state, std::uint64_t /*position*/, char* buffer, std::size_t size) {
    auto& outgoing = *static_cast<Outgoing*>(state);
    Deadlines& deadlines = outgoing.self.fDeadlines;
    // Whoever asks for a piece has taken the one before.
    deadlines.lift(outgoing.socket);
    const bool isMore = fill(outgoing);
    deadlines.begin(outgoing.socket);
    if (!isMore) return MHD_CONTENT_READER_END_OF_STREAM;
    const std::size_t count = outgoing.text.copy(buffer, size, outgoing.sent);
    outgoing.sent += count;
    return static_cast<ssize_t>(count);
  }

  /// Waits until there is something to send. @return false at the end.
  static bool fill(Outgoing& outgoing) {
    try {
      while (outgoing.sent == outgoing.text.size()) {
        outgoing.text.clear();
        outgoing.sent = 0;
        if (outgoing.self.fIsStopping || isHungUp(outgoing.socket)) return false;
        if (!outgoing.stream(outgoing.text)) return false;
      }
      return true;
    } catch (std::exception const&) {
      return false;
    }
  }

  static void onStreamEnd(void* state) { delete static_cast<Outgoing*>(state); }
};

HttpListener::HttpListener(HttpLimits const& limits, Handler handler)
    : fLimits(limits), fHandler(std::move(handler)), fDeadlines(limits.patience) {}

std::unique_ptr<HttpListener> HttpListener::start(UniqueFd socket, HttpLimits const& limits,
                                                  Handler handler, std::string& cause) {
  std::unique_ptr<HttpListener> listener(new HttpListener(limits, std::move(handler)));
  void* self = listener.get();
  errno = 0;
  listener->fDaemon = MHD_start_daemon(
      MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_THREAD_PER_CONNECTION | MHD_USE_POLL | MHD_USE_ITC,
      0, nullptr, nullptr, &Callbacks::onRequest, self,              //
      MHD_OPTION_LISTEN_SOCKET, socket.release(),                    //
      MHD_OPTION_CONNECTION_LIMIT, limits.connections,               //
      MHD_OPTION_CONNECTION_MEMORY_LIMIT, limits.headBytes,          //
      MHD_OPTION_THREAD_STACK_SIZE, kStackBytes,                     //
      MHD_OPTION_NOTIFY_CONNECTION, &Callbacks::onConnection, self,  //
      MHD_OPTION_NOTIFY_COMPLETED, &Callbacks::onCompleted, self,    //
      MHD_OPTION_URI_LOG_CALLBACK, &Callbacks::onTarget, self, MHD_OPTION_END);
  if (listener->fDaemon != nullptr) return listener;
  cause = std::string("the HTTP server cannot be started: ") + std::strerror(errno);
  return nullptr;
}

HttpListener::~HttpListener() {
  if (fDaemon == nullptr) return;
  const UniqueFd socket(MHD_quiesce_daemon(fDaemon));
  {
    std::unique_lock lock(fMutex);
    fAnswered.wait_for(lock, kFarewell, [this] { return fBeingAnswered == 0; });
  }
  fIsStopping = true;
  MHD_stop_daemon(fDaemon);
}
