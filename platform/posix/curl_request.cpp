#include "posix/curl_request.h"

#include <curl/curl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "posix/curl_errors.h"

namespace tsly {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// libcurl's default of 16 KiB halves the speed of a fast network.
constexpr long kReceiveBuffer = 256 * 1024;
// libcurl fills the buffer up to a hundred times before it returns and blocks the thread meanwhile.
constexpr milliseconds kLongestTurn{1};

// libcurl counts its users; this one is never released.
void InitializeOnce() {
  static const CURLcode result = curl_global_init(CURL_GLOBAL_DEFAULT);
  static_cast<void>(result);  // the first handle reports a failure
}

}  // namespace

CurlRequest::CurlRequest(DescriptorWatch& watch, ResponseSpool& spool, TransferStates& states, const Setup& setup,
                         std::function<void()> changed)
    : watch_(watch), spool_(spool), states_(states), changed_(std::move(changed)), idle_time_out_(setup.idle_time_out) {
  InitializeOnce();
  multi_ = curl_multi_init();
  easy_ = curl_easy_init();
  curl_multi_setopt(multi_, CURLMOPT_SOCKETFUNCTION, OnSocket);
  curl_multi_setopt(multi_, CURLMOPT_SOCKETDATA, this);
  curl_multi_setopt(multi_, CURLMOPT_TIMERFUNCTION, OnTimer);
  curl_multi_setopt(multi_, CURLMOPT_TIMERDATA, this);
  SetOptions(setup);
  states_.Reach(icResolvingHost);
  if (idle_time_out_.count() > 0) WatchIdleness(idle_time_out_);
  // libcurl sets its timer at once and starts when it fires.
  if (curl_multi_add_handle(multi_, easy_) != CURLM_OK) {
    watch_.StartOneShot(this, milliseconds(0), [this] { Finish(CURLE_FAILED_INIT); });
  }
}

void CurlRequest::SetOptions(const Setup& setup) {
  const auto set = [this](CURLoption option, auto value) { curl_easy_setopt(easy_, option, value); };
  set(CURLOPT_URL, setup.url.c_str());
  set(CURLOPT_ERRORBUFFER, detail_.data());
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_QUICK_EXIT, 1L);  // otherwise Cancel waits for a name server that doesn't answer
  set(CURLOPT_PROXY, "");       // ignores the environment too
  set(CURLOPT_PROTOCOLS_STR, "http,https");
  set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  set(CURLOPT_FOLLOWLOCATION, 1L);
  set(CURLOPT_MAXREDIRS, long{kMostRedirects});
  set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  set(CURLOPT_USERAGENT, UserAgent().c_str());
  set(CURLOPT_BUFFERSIZE, kReceiveBuffer);
  if (!setup.authorities.empty()) {
    set(CURLOPT_CAINFO, setup.authorities.c_str());
    set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
  }
  set(CURLOPT_OPENSOCKETFUNCTION, OnOpenSocket);
  set(CURLOPT_OPENSOCKETDATA, this);
  set(CURLOPT_PREREQFUNCTION, OnConnected);
  set(CURLOPT_PREREQDATA, this);
  set(CURLOPT_VERBOSE, 1L);  // calls OnTrace instead of printing
  set(CURLOPT_DEBUGFUNCTION, OnTrace);
  set(CURLOPT_DEBUGDATA, this);
  set(CURLOPT_HEADERFUNCTION, OnHeader);
  set(CURLOPT_HEADERDATA, this);
  set(CURLOPT_WRITEFUNCTION, OnBody);
  set(CURLOPT_WRITEDATA, this);
}

int CurlRequest::OnSocket(CURL*, curl_socket_t socket, int what, void* self, void*) {
  const bool readable = what == CURL_POLL_IN || what == CURL_POLL_INOUT;
  const bool writable = what == CURL_POLL_OUT || what == CURL_POLL_INOUT;
  Of(self).watch_.Watch(socket, readable, writable, [self, socket](bool can_read, bool can_write) {
    Of(self).Act(socket, (can_read ? CURL_CSELECT_IN : 0) | (can_write ? CURL_CSELECT_OUT : 0));
  });
  return 0;
}

int CurlRequest::OnTimer(CURLM*, long delay, void* self) {
  if (delay < 0) {
    Of(self).watch_.StopOneShot(self);
  } else {
    Of(self).watch_.StartOneShot(self, milliseconds(delay), [self] { Of(self).Act(CURL_SOCKET_TIMEOUT, 0); });
  }
  return 0;
}

curl_socket_t CurlRequest::OnOpenSocket(void* self, curlsocktype, curl_sockaddr* address) {
  Of(self).states_.Reach(icConnecting);
  return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

int CurlRequest::OnConnected(void* self, char*, char*, int, int) {
  CurlRequest& request = Of(self);
  request.answered_ = request.head_ended_ = false;
  // After HTTPS, no redirect leads back to HTTP.
  if (request.IsSecure()) curl_easy_setopt(request.easy_, CURLOPT_REDIR_PROTOCOLS_STR, "https");
  request.states_.Reach(icRequesting);
  return CURL_PREREQFUNC_OK;
}

int CurlRequest::OnTrace(CURL*, curl_infotype type, char*, size_t, void* self) {
  if (type == CURLINFO_SSL_DATA_OUT) Of(self).states_.Reach(icConnected);
  if (type == CURLINFO_HEADER_OUT) Of(self).states_.Reach(icRequestSent);
  return 0;
}

size_t CurlRequest::OnHeader(char* bytes, size_t size, size_t count, void* self) {
  CurlRequest& request = Of(self);
  const std::string_view line(bytes, size * count);
  request.answered_ = true;
  // Trailer fields after the body start no new head.
  if (line.starts_with("HTTP/")) request.head_ended_ = false;
  if (line == "\r\n" || line == "\n") request.head_ended_ = true;
  request.last_byte_ = steady_clock::now();
  request.states_.Reach(icReceivingResponse);
  return size * count;
}

size_t CurlRequest::OnBody(char* bytes, size_t size, size_t count, void* self) {
  CurlRequest& request = Of(self);
  request.last_byte_ = steady_clock::now();
  if (request.last_byte_ - request.turn_began_ >= kLongestTurn) {
    request.watch_.StartOneShot(&request.turn_began_, milliseconds(0), [&request] { request.Resume(); });
    return CURL_WRITEFUNC_PAUSE;
  }
  if (request.last_byte_ - request.last_progress_ >= kBetweenProgress) {
    request.last_progress_ = request.last_byte_;
    request.states_.ReceiveMore();
  }
  request.spool_code_ = request.spool_.Append({bytes, size * count});
  return request.spool_code_ == 0 ? size * count : 0;  // 0 ends the transfer
}

void CurlRequest::Act(curl_socket_t socket, int readiness) {
  turn_began_ = steady_clock::now();
  int running = 0;
  const CURLMcode outcome = curl_multi_socket_action(multi_, socket, readiness, &running);
  if (outcome != CURLM_OK) return Finish(CURLE_FAILED_INIT);
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
    if (message->msg == CURLMSG_DONE) return Finish(message->data.result);
  }
  if (!states_.IsEmpty()) changed_();
}

// libcurl delivers what it buffered and sets its timer to continue.
void CurlRequest::Resume() {
  turn_began_ = steady_clock::now();
  const CURLcode result = curl_easy_pause(easy_, CURLPAUSE_CONT);
  if (result != CURLE_OK) return Finish(result);
  if (!states_.IsEmpty()) changed_();
}

void CurlRequest::WatchIdleness(steady_clock::duration delay) {
  watch_.StartOneShot(&last_byte_, std::chrono::ceil<milliseconds>(delay), [this] { LookAtIdleness(); });
}

void CurlRequest::LookAtIdleness() {
  const auto left = last_byte_ + idle_time_out_ - steady_clock::now();
  if (left.count() > 0) return WatchIdleness(left);
  detail_.fill(0);
  Finish(CURLE_OPERATION_TIMEDOUT);
}

void CurlRequest::Finish(CURLcode result) {
  if (result == CURLE_OK && !IsWhole()) result = CURLE_PARTIAL_FILE;
  if (result == CURLE_OK) {
    states_.Complete();
  } else {
    error_ = Judge(result);
    spool_.Clear();  // before the report: on a full disk the next log line needs the space
    states_.Fail();
  }
  End();
  changed_();
}

// libcurl accepts a truncated head as a response without a body.
bool CurlRequest::IsWhole() const {
  constexpr long kFirstFinalStatus = 200;
  return head_ended_ && Info<long>(CURLINFO_RESPONSE_CODE) >= kFirstFinalStatus;
}

Fault CurlRequest::Judge(CURLcode result) const {
  if (spool_code_ != 0) return InternetError(spool_code_);
  return InternetError(CurlFailure{.result = result,
                                   .system_error = Info<long>(CURLINFO_OS_ERRNO),
                                   .verify_result = Info<long>(CURLINFO_SSL_VERIFYRESULT),
                                   .redirecting = answered_,
                                   .secure = IsSecure(),
                                   .detail = detail_.data()});
}

void CurlRequest::End() {
  if (multi_ && easy_) curl_multi_remove_handle(multi_, easy_);
  if (easy_) curl_easy_cleanup(easy_);
  if (multi_) curl_multi_cleanup(multi_);  // calls OnSocket for sockets that it still watches
  easy_ = nullptr;
  multi_ = nullptr;
  watch_.StopOneShot(this);
  watch_.StopOneShot(&last_byte_);
  watch_.StopOneShot(&turn_began_);
}

}  // namespace tsly
