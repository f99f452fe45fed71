#include "host/veskctl/Transfer.h"

#include <poll.h>

#include <array>
#include <new>

namespace ctl {

namespace {

constexpr int kTurnMilliseconds = 1000;

}  // namespace

Transfer::Transfer(HttpSettings const& settings, Request const& request,
                   IApi::LineTaker const* take)
    : fSettings(settings), fTake(take), fRequestBody(request.body) {
  fEasy.reset(::curl_easy_init());
  fMulti.reset(::curl_multi_init());
  if (!fEasy || !fMulti) throw std::bad_alloc();
  prepare(request);
}

void Transfer::prepare(Request const& request) {
  CURL* easy = fEasy.get();
  const std::string url = "http://veskd" + request.path;
  ::curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
  ::curl_easy_setopt(easy, CURLOPT_UNIX_SOCKET_PATH, fSettings.socket.c_str());
  ::curl_easy_setopt(easy, CURLOPT_PROXY, "");  // whatever the environment says
  ::curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  ::curl_easy_setopt(easy, CURLOPT_PATH_AS_IS, 1L);  // ".." may be a name
  ::curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  ::curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, request.method);
  ::curl_easy_setopt(easy, CURLOPT_USERAGENT, "veskctl");
  ::curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Transfer::onBytes);
  ::curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
  if (fTake == nullptr) {
    ::curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, static_cast<long>(fSettings.timeout.count()));
  }
  if (request.method == std::string_view("POST")) {
    fHeaders.reset(::curl_slist_append(nullptr, "Content-Type: application/json"));
    ::curl_slist_append(fHeaders.get(), "Expect:");
    ::curl_easy_setopt(easy, CURLOPT_HTTPHEADER, fHeaders.get());
    ::curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE, static_cast<long>(fRequestBody.size()));
    ::curl_easy_setopt(easy, CURLOPT_POSTFIELDS, fRequestBody.c_str());
  }
}

Transfer::End Transfer::run() {
  fLastHeard = std::chrono::steady_clock::now();
  ::curl_multi_add_handle(fMulti.get(), fEasy.get());
  int running = 1;
  End end = End::done;
  while (end == End::done) {
    ::curl_multi_perform(fMulti.get(), &running);
    if (running == 0) break;
    std::array<curl_waitfd, 2> others = {{
        {fSettings.interrupts != nullptr ? fSettings.interrupts->descriptor() : -1,
         CURL_WAIT_POLLIN, 0},
        {fSettings.output, 0, 0},  // an error on it is always told
    }};
    ::curl_multi_poll(fMulti.get(), others.data(), others.size(), kTurnMilliseconds, nullptr);
    if (isInterrupted()) end = End::interrupted;
    const bool isSilent = fSettings.silence.count() > 0 &&
                          std::chrono::steady_clock::now() - fLastHeard > fSettings.silence;
    if (fTake != nullptr && isSilent) end = End::silent;
  }
  int left = 0;
  while (CURLMsg const* message = ::curl_multi_info_read(fMulti.get(), &left)) {
    if (message->msg == CURLMSG_DONE) fCode = message->data.result;
  }
  ::curl_multi_remove_handle(fMulti.get(), fEasy.get());
  if (fIsTooLarge) return End::tooLarge;
  return fIsEnough ? End::interrupted : end;
}

bool Transfer::isInterrupted() {
  if (fSettings.interrupts != nullptr && fSettings.interrupts->isStopped()) return true;
  if (fSettings.output < 0) return false;
  pollfd output{fSettings.output, 0, 0};
  return ::poll(&output, 1, 0) > 0 && (output.revents & POLLERR) != 0;
}

long Transfer::status() const {
  long status = 0;
  ::curl_easy_getinfo(fEasy.get(), CURLINFO_RESPONSE_CODE, &status);
  return status;
}

bool Transfer::isHeard() const {
  long size = 0;
  ::curl_easy_getinfo(fEasy.get(), CURLINFO_HEADER_SIZE, &size);
  return size > 0;
}

Response Transfer::response() { return {status(), std::move(fBody)}; }

bool Transfer::take(std::string_view bytes) {
  fLastHeard = std::chrono::steady_clock::now();
  fIsTooLarge = bytes.size() > HttpClient::kLargest - fBody.size();
  if (fIsTooLarge) return false;
  fBody += bytes;
  const bool isStream = fTake != nullptr && isSuccess(status());
  if (isStream) fIsEnough = !takeLines();
  return !fIsEnough;
}

bool Transfer::takeLines() {
  const std::string_view all = fBody;
  std::size_t begin = 0;
  bool isWanted = true;
  for (std::size_t end = 0; isWanted; begin = end + 1) {
    end = all.find('\n', begin);
    if (end == std::string_view::npos) break;
    const std::string_view line = all.substr(begin, end - begin);
    if (!line.empty()) isWanted = (*fTake)(line);
  }
  fBody.erase(0, begin);
  return isWanted;
}

std::size_t Transfer::onBytes(char* bytes, std::size_t size, std::size_t count, void* self) {
  auto& transfer = *static_cast<Transfer*>(self);
  return transfer.take({bytes, size * count}) ? size * count : 0;
}

}  // namespace ctl
