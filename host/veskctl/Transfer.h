#pragma once

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <string>

#include "host/veskctl/HttpClient.h"

namespace ctl {

/// One request on its way.
class Transfer {
 public:
  /// @param take for a stream, null for a whole answer.
  /// All of them outlive this object.
  Transfer(HttpSettings const& settings, Request const& request, IApi::LineTaker const* take);

  enum class End { done, interrupted, silent, tooLarge };

  /// Runs it to its end.
  End run();

  /// Of `End::done`.
  CURLcode code() const { return fCode; }
  /// Whether the host has begun to answer.
  bool isHeard() const;
  Response response();

 private:
  struct Free {
    void operator()(CURL* easy) const { ::curl_easy_cleanup(easy); }
    void operator()(curl_slist* list) const { ::curl_slist_free_all(list); }
  };
  struct FreeMulti {
    void operator()(CURLM* multi) const { ::curl_multi_cleanup(multi); }
  };

  void prepare(Request const& request);
  bool take(std::string_view bytes);
  bool takeLines();
  bool isInterrupted();
  long status() const;
  static std::size_t onBytes(char* bytes, std::size_t size, std::size_t count, void* self);

  HttpSettings const& fSettings;
  IApi::LineTaker const* fTake;
  std::string fRequestBody;
  std::string fBody;  ///< of the answer; of a stream, what is no whole line yet
  std::unique_ptr<curl_slist, Free> fHeaders;
  std::unique_ptr<CURL, Free> fEasy;
  std::unique_ptr<CURLM, FreeMulti> fMulti;
  std::chrono::steady_clock::time_point fLastHeard{};
  CURLcode fCode = CURLE_OK;
  bool fIsTooLarge = false;
  bool fIsEnough = false;  ///< the taker wants no more
};

}  // namespace ctl
