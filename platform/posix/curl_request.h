// One GET on libcurl's multi interface, until its end or its destruction. CurlTransfer creates one for each request;
// one thread. Results go into the states; no code of the caller runs inside libcurl.
#pragma once

#include <curl/curl.h>

#include <array>
#include <chrono>
#include <functional>
#include <string>

#include "common/queued_transfer.h"
#include "ports/fault.h"
#include "posix/descriptor_watch.h"

namespace tsly {

class CurlRequest : public TransferRequest {
 public:
  struct Setup {
    std::string url;                       // as returned by UsableAddress
    std::chrono::seconds idle_time_out{};  // without a byte; 0: none
    std::string authorities;               // file of trusted certificates; "": the system's
  };

  // Calls `changed` from the loop when there are new states. `changed` must not destroy this object.
  CurlRequest(DescriptorWatch& watch, ResponseSpool& spool, TransferStates& states, const Setup& setup,
              std::function<void()> changed);
  ~CurlRequest() override { End(); }
  CurlRequest(const CurlRequest&) = delete;
  CurlRequest& operator=(const CurlRequest&) = delete;

  const Fault& Error() const override { return error_; }
  bool HasEnded() const override { return multi_ == nullptr; }

 private:
  using SteadyClock = std::chrono::steady_clock;

  static CurlRequest& Of(void* pointer) { return *static_cast<CurlRequest*>(pointer); }

  // Callbacks of libcurl; they only record.
  static int OnSocket(CURL*, curl_socket_t socket, int what, void* self, void*);
  static int OnTimer(CURLM*, long delay, void* self);
  static curl_socket_t OnOpenSocket(void* self, curlsocktype, curl_sockaddr* address);
  static int OnConnected(void* self, char*, char*, int, int);
  static int OnTrace(CURL*, curl_infotype type, char*, size_t, void* self);
  static size_t OnHeader(char* bytes, size_t size, size_t count, void* self);
  static size_t OnBody(char* bytes, size_t size, size_t count, void* self);

  void SetOptions(const Setup& setup);
  void Act(curl_socket_t socket, int readiness);
  void Resume();
  void WatchIdleness(SteadyClock::duration delay);
  void LookAtIdleness();
  void Finish(CURLcode result);
  bool IsWhole() const;
  Fault Judge(CURLcode result) const;
  void End();

  template <typename Value>
  Value Info(CURLINFO info) const {
    Value value{};
    curl_easy_getinfo(easy_, info, &value);
    return value;
  }
  bool IsSecure() const {
    const char* scheme = Info<const char*>(CURLINFO_SCHEME);
    return scheme && curl_strequal(scheme, "https");
  }

  DescriptorWatch& watch_;
  ResponseSpool& spool_;
  TransferStates& states_;
  std::function<void()> changed_;
  CURLM* multi_ = nullptr;  // one per request: no connection or cached name outlives it
  CURL* easy_ = nullptr;
  std::array<char, CURL_ERROR_SIZE> detail_{};
  SteadyClock::duration idle_time_out_;
  SteadyClock::time_point last_byte_ = SteadyClock::now();
  SteadyClock::time_point last_progress_{};
  SteadyClock::time_point turn_began_{};
  bool answered_ = false;    // the response to the last request has started
  bool head_ended_ = false;  // its head is complete
  int spool_code_ = 0;
  Fault error_;
};

}  // namespace tsly
