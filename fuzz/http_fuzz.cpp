// Sends arbitrary responses to the transfer control: its states must be in order with one end, it must never hang, and
// it must return the body. Input: a character for the timing of the bytes, then the responses, one for each request,
// separated by a character with code 1. There is no network: each connection is a pair of sockets, and no name can be
// resolved.
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <deque>
#include <filesystem>
#include <map>
#include <optional>

#include "base/text.h"
#include "fuzz.h"
#include "posix/curl_transfer.h"
#include "posix/paths.h"

namespace tsly {
namespace {

using Milliseconds = std::chrono::milliseconds;

SteadyTime Now() { return std::chrono::steady_clock::now().time_since_epoch(); }

class PollLoop : public EventLoop, public DescriptorWatch {
 public:
  bool ProcessPendingEvents() override { return false; }
  void Wait(SteadyTime) override {}
  TimerId StartTimer(Milliseconds, std::function<void()>) override { return 0; }
  void StopTimer(TimerId) override {}
  void Post(std::function<void()> event) override { events_.push_back(std::move(event)); }
  void Watch(int descriptor, bool readable, bool writable, std::function<void(bool, bool)> ready) override {
    watched_.erase(descriptor);
    const short events = static_cast<short>((readable ? POLLIN : 0) | (writable ? POLLOUT : 0));
    if (events != 0) watched_[descriptor] = {events, std::move(ready)};
  }
  void StartOneShot(const void* owner, Milliseconds delay, std::function<void()> tick) override {
    one_shots_[owner] = {Now() + delay, std::move(tick)};
  }
  void StopOneShot(const void* owner) override { one_shots_.erase(owner); }

  // Runs what is due, or else the next event.
  void Turn() {
    if (!events_.empty()) {
      const auto event = std::move(events_.front());
      events_.pop_front();
      return event();
    }
    for (const auto& [owner, one_shot] : one_shots_) {
      if (one_shot.due > Now()) continue;
      const auto tick = one_shot.tick;
      one_shots_.erase(owner);
      return tick();
    }
    Poll();
  }
  bool HasEvents() const { return !events_.empty(); }

  std::function<bool()> when_idle;  // returns whether it did something

 private:
  struct Watched {
    short events;
    std::function<void(bool, bool)> ready;
  };
  struct OneShot {
    SteadyTime due;
    std::function<void()> tick;
  };

  void Poll() {
    std::vector<pollfd> polled;
    for (const auto& [descriptor, watched] : watched_) polled.push_back({descriptor, watched.events, 0});
    if (poll(polled.data(), polled.size(), 0) == 0 && !when_idle()) poll(polled.data(), polled.size(), 1);
    for (const pollfd& one : polled) {
      const auto found = watched_.find(one.fd);
      if (one.revents == 0 || found == watched_.end()) continue;
      const auto ready = found->second.ready;
      const bool has_failed = (one.revents & (POLLERR | POLLHUP)) != 0;
      ready((one.revents & POLLIN) != 0 || has_failed, (one.revents & POLLOUT) != 0);
    }
  }

  std::deque<std::function<void()>> events_;
  std::map<int, Watched> watched_;
  std::map<const void*, OneShot> one_shots_;
};

// Sends the next response to each request. Hangs up after the last, and when there is no progress.
class Server {
 public:
  Server(PollLoop& loop, std::size_t piece, std::deque<std::string> answers)
      : loop_(loop), piece_(piece), answers_(std::move(answers)) {
    the_server = this;
    loop_.when_idle = [this] { return HangUpAll(); };
  }
  ~Server() {
    HangUpAll();
    the_server = nullptr;
  }

  int Connect(int client) {
    int pair[2];
    HOLDS(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair) == 0);
    dup2(pair[0], client);
    close(pair[0]);
    fcntl(client, F_SETFL, O_NONBLOCK);
    open_[pair[1]];
    WaitForRequest(pair[1]);
    return 0;
  }

  static inline Server* the_server = nullptr;

 private:
  void WaitForRequest(int peer) {
    loop_.Watch(peer, true, false, [this, peer](bool, bool) {
      char bytes[4096];
      const ssize_t count = read(peer, bytes, sizeof bytes);
      if (count <= 0 || answers_.empty()) return HangUp(peer);
      std::string& request = open_[peer];
      request.append(bytes, static_cast<std::size_t>(count));
      const bool is_secure = request[0] == '\x16';
      if (!request.ends_with("\r\n\r\n") && !is_secure) return;
      request = answers_.front();
      answers_.pop_front();
      Answer(peer);
    });
  }
  void Answer(int peer) {
    loop_.Watch(peer, false, true, [this, peer](bool, bool) {
      std::string& rest = open_[peer];
      const ssize_t count = send(peer, rest.data(), std::min(piece_, rest.size()), MSG_NOSIGNAL);
      if (count < 0) return HangUp(peer);
      rest.erase(0, static_cast<std::size_t>(count));
      if (!rest.empty()) return;
      if (answers_.empty()) return HangUp(peer);
      WaitForRequest(peer);
    });
  }
  // For a deadlock.
  bool HangUpAll() {
    const bool any = !open_.empty();
    while (!open_.empty()) HangUp(open_.begin()->first);
    return any;
  }
  void HangUp(int peer) {
    loop_.Watch(peer, false, false, {});
    open_.erase(peer);
    close(peer);
  }

  PollLoop& loop_;
  std::size_t piece_;
  std::deque<std::string> answers_;
  std::map<int, std::string> open_;  // the received part of a request, or the unsent rest of a response
};

void LookAtStates(const std::vector<std::int16_t>& states) {
  std::vector<std::int16_t> reached;
  for (const std::int16_t state : states) {
    if (state == icReceivingResponse && !reached.empty() && reached.back() == state) continue;
    reached.push_back(state);
  }
  HOLDS(!reached.empty());
  if (reached.back() == icResponseCompleted) {
    HOLDS(reached == std::vector<std::int16_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 12});
    return;
  }
  HOLDS(reached.back() == icError);
  reached.pop_back();
  if (reached.size() > 2 && reached.back() == icDisconnected) {
    reached.resize(reached.size() - 2);
    HOLDS(reached.back() == icReceivingResponse || reached.back() == icConnected);
  }
  for (std::size_t i = 0; i < reached.size(); ++i) HOLDS(reached[i] == static_cast<std::int16_t>(i + 1));
}

// The expected result of a simple response; nothing for others.
struct Outcome {
  bool is_whole;
  std::string body;
};
std::optional<Outcome> Expected(const std::string& answer) {
  constexpr std::string_view kHead = "HTTP/1.1 200 OK\r\n", kLength = "Content-Length: ";
  if (!answer.starts_with(kHead)) return std::nullopt;
  const std::size_t end = answer.find("\r\n\r\n");
  if (end == answer.npos) return std::nullopt;
  std::string body = answer.substr(end + 4);
  if (end + 2 <= kHead.size()) return Outcome{true, body};
  const std::string field = answer.substr(kHead.size(), end - kHead.size());
  const std::string digits = field.substr(std::min(kLength.size(), field.size()));
  const bool is_plain = field.starts_with(kLength) && !digits.empty() && digits.size() < 9;
  if (!is_plain || digits.find_first_not_of("0123456789") != digits.npos) return std::nullopt;
  const std::size_t length = std::stoul(digits);
  return Outcome{body.size() >= length, body.substr(0, length)};
}

}  // namespace

void Try(std::string_view bytes) {
  Input input(bytes);
  const std::size_t piece = std::size_t{1} << (input.Byte() % 16);
  std::deque<std::string> answers;
  while (!input.IsEmpty() && answers.size() < 20) answers.emplace_back(input.Line('\1'));
  const std::optional<Outcome> expected = answers.size() == 1 ? Expected(answers[0]) : std::nullopt;

  PollLoop loop;
  Server server(loop, std::max(piece, bytes.size() / 64 + 1), answers);
  CurlTransfer transfer(loop, loop, "/dev/null");
  static const std::string folder = CorePath(std::filesystem::temp_directory_path().string());
  transfer.SetSpoolFolder(folder);
  transfer.SetRequestTimeout(0);
  std::vector<std::int16_t> states;
  bool has_ended = false;
  transfer.SetStateChanged([&](std::int16_t state) {
    HOLDS(!has_ended);
    states.push_back(state);
    has_ended = state == icError || state == icResponseCompleted;
  });
  HOLDS(!transfer.Execute("http://127.0.0.1/pack", "GET"));
  const SteadyTime deadline = Now() + std::chrono::seconds(10);
  while (!has_ended) {
    HOLDS(Now() < deadline);
    loop.Turn();
  }
  while (loop.HasEvents()) loop.Turn();

  LookAtStates(states);
  const bool is_whole = states.back() == icResponseCompleted;
  HOLDS((transfer.ResponseCode() == 0) == is_whole);
  std::string body, chunk;
  do {
    HOLDS(!transfer.GetChunk(1000, ChunkType::icByteArray, chunk) && chunk.size() <= 1000);
    body += chunk;
  } while (!chunk.empty());
  if (!is_whole) HOLDS(body.empty());
  if (expected) HOLDS(expected->is_whole == is_whole && (!is_whole || body == expected->body));
}

}  // namespace tsly

// Replaces the C library's function.
extern "C" int connect(int descriptor, const sockaddr*, socklen_t) noexcept(false) {
  return tsly::Server::the_server->Connect(descriptor);
}
extern "C" int getaddrinfo(const char*, const char*, const addrinfo*, addrinfo**) { return EAI_NONAME; }
