#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <memory>

#include "posix/curl_transfer.h"
#include "qt/application_environment.h"
#include "qt/qt_event_loop.h"
#include "support/http_server.h"
#include "support/scripted_transfer.h"

namespace tsly {
namespace {

using std::chrono::milliseconds;
using States = std::vector<std::int16_t>;

const States kReceived{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 12};
const States kCutOff{1, 2, 3, 4, 5, 6, 7, 9, 10, 11};
const States kNotAnswering{1, 2, 3, 11};

enum class Ending { kComplete, kShort, kRefused, kNone };

// The edition's loop, and two ways to serve what a transfer brings about.
struct RunningLoop {
  bool RunUntil(const std::function<bool()>& done) {
    const SteadyTime limit = clock.Steady() + std::chrono::seconds(10);
    while (!done() && clock.Steady() <= limit) loop.Wait(limit);
    return done();
  }
  // For what must not happen.
  void RunFor(std::chrono::milliseconds length) {
    const SteadyTime end = clock.Steady() + length;
    while (clock.Steady() <= end) loop.Wait(end);
  }

  RealClock clock;
  QtEventLoop loop{clock};
};

// One control, real or scripted, and what it told.
class TransferTest : public testing::Test {
 protected:
  TransferTest() {
    // Nobody listens there; whoever obeyed these would fail.
    ::setenv("http_proxy", "http://127.0.0.1:1", 1);
    ::setenv("ALL_PROXY", "http://127.0.0.1:1", 1);
    Use(std::make_unique<CurlTransfer>(loop_.loop, loop_.loop, [this] { return folder_; }));
  }
  ~TransferTest() override {
    control_.reset();
    EXPECT_TRUE(std::filesystem::remove(folder_)) << "something was left in the folder";  // fails on a folder in use
  }

  void Use(std::unique_ptr<TransferControl> control) {
    control_ = std::move(control);
    control_->SetProtocol(icHTTP);
    control_->SetRequestTimeout(60);
    control_->SetStateChanged([this](std::int16_t state) {
      // A 7 that repeats another says nothing new.
      if (state != icReceivingResponse || states_.empty() || states_.back() != state) states_.push_back(state);
      if (handler_) handler_(state);
    });
  }

  bool Start(const std::string& url) {
    const Fault fault = control_->Execute(url, "GET");
    EXPECT_FALSE(fault) << url << ": " << fault.number;
    return !fault;
  }
  bool IsOver() const {
    return !states_.empty() && (states_.back() == icError || states_.back() == icResponseCompleted);
  }
  void Get(const std::string& url) {
    states_.clear();
    const bool started = Start(url);
    EXPECT_TRUE(started && loop_.RunUntil([this] { return IsOver(); })) << url;
  }
  std::string Body(std::int32_t size = 1024) {
    std::string body;
    for (std::string chunk;; body += chunk) {
      EXPECT_FALSE(control_->GetChunk(size, ChunkType::icByteArray, chunk));
      EXPECT_LE(chunk.size(), static_cast<std::size_t>(size));
      if (chunk.empty()) return body;
    }
  }
  void ExpectOutcome(const States& states, std::int32_t code, const std::string& body) {
    EXPECT_EQ(states_, states);
    EXPECT_EQ(control_->ResponseCode(), code);
    EXPECT_EQ(control_->ResponseInfo().empty(), code == 0);
    const std::string got = Body();
    EXPECT_TRUE(got == body) << got.size() << " bytes, not " << body.size() << ": " << got.substr(0, 80);
  }

  std::filesystem::path folder_ = [] {
    std::string name = testing::TempDir() + "transferXXXXXX";
    return std::filesystem::path(::mkdtemp(name.data()));
  }();
  RunningLoop loop_;
  HttpServer server_;
  std::unique_ptr<TransferControl> control_;
  States states_;
  std::function<void(std::int16_t)> handler_;
};

// What holds for every control.
class TransferContract : public TransferTest, public testing::WithParamInterface<bool> {
 protected:
  TransferContract() {
    if (!GetParam()) return;
    auto scripted = std::make_unique<ScriptedTransfer>(loop_.loop);
    scripted_ = scripted.get();
    Use(std::move(scripted));
  }

  // The address of a document with that ending.
  std::string Arrange(Ending ending, const std::string& body = "") {
    const auto cut_short = ReplyWithLength(body, static_cast<std::int64_t>(body.size()) + 1);
    switch (ending) {
      case Ending::kComplete:
        return scripted_ ? Plan(Received(body)) : Plan(Reply(body));
      case Ending::kShort:
        return scripted_ ? Plan(Failed(12030, "cut off", body)) : Plan(cut_short);
      case Ending::kRefused:
        if (scripted_) return Plan(Failed(12029, "refused"));
        return "http://127.0.0.1:" + std::to_string(HttpServer::UnusedPort()) + "/";
      case Ending::kNone:
        return scripted_ ? Plan(Silent(1, 2, 3, 4, 5, 6, 7)) : Plan(Script(cut_short).Stall());
    }
    return "";
  }
  std::string Plan(Answer answer) {
    scripted_->answers.push_back(std::move(answer));
    return "http://scripted.invalid/";
  }
  std::string Plan(Script script) {
    server_.Expect(std::move(script));
    return server_.Url();
  }

  ScriptedTransfer* scripted_ = nullptr;
};

INSTANTIATE_TEST_SUITE_P(Controls, TransferContract, testing::Bool(),
                         [](const auto& param) { return param.param ? "Scripted" : "Curl"; });

TEST_P(TransferContract, TellsEachEndingAndKeepsWhatArrived) {
  const std::string body(3000, 'x');
  Get(Arrange(Ending::kComplete, body));
  ExpectOutcome(kReceived, 0, body);
  Get(Arrange(Ending::kShort, body));
  ExpectOutcome(kCutOff, 12030, body);
  Get(Arrange(Ending::kRefused));
  ExpectOutcome(kNotAnswering, 12029, "");
  Get(Arrange(Ending::kComplete));
  ExpectOutcome(kReceived, 0, "");
}

TEST_P(TransferContract, TellsNothingInsideACallAndNothingOfAnAbandonedTransfer) {
  const std::string old = Arrange(Ending::kComplete);
  handler_ = [this](std::int16_t) {
    if (scripted_) scripted_->answers.push_back(FaultAtOnce(12005, "no address"));
    EXPECT_EQ(control_->Execute("", "GET").number, 12005);
    EXPECT_EQ(control_->ResponseCode(), 0);
  };
  ASSERT_TRUE(Start(old));
  EXPECT_EQ(states_, States{});
  loop_.RunFor(milliseconds(20));
  EXPECT_EQ(states_, States{1});
  server_.DropScripts();
}

TEST_P(TransferContract, AHandlerMayCancelAtAnyState) {
  for (const std::int16_t last : States{1, 3, 6, 7, 8, 12}) {
    handler_ = [&](std::int16_t state) {
      if (state == last) control_->Cancel();
    };
    states_.clear();
    ASSERT_TRUE(Start(Arrange(Ending::kComplete, "x")));
    ASSERT_TRUE(loop_.RunUntil([&] { return !states_.empty() && states_.back() == last; })) << last;
    loop_.RunFor(milliseconds(5));
    EXPECT_EQ(states_.back(), last);
  }
  server_.DropScripts();
}

TEST_P(TransferContract, AHandlerMayStartTheNextTransferAndWaitForIt) {
  States inside;
  handler_ = [&](std::int16_t state) {
    if (state != icReceivingResponse) return;
    handler_ = nullptr;
    Get(Arrange(Ending::kComplete, "second"));
    inside = states_;
  };
  ASSERT_TRUE(Start(Arrange(Ending::kNone, "first")));
  ASSERT_TRUE(loop_.RunUntil([&] { return !inside.empty(); }));
  EXPECT_EQ(inside, kReceived);
  loop_.RunFor(milliseconds(5));
  ExpectOutcome(kReceived, 0, "second");
}

TEST_P(TransferContract, StatesWaitForAHandlerThatLetsEventsRun) {
  int depth = 0;
  handler_ = [&](std::int16_t) {
    EXPECT_EQ(++depth, 1);
    loop_.RunFor(milliseconds(5));
    --depth;
  };
  Get(Arrange(Ending::kComplete, "x"));
  ExpectOutcome(kReceived, 0, "x");
}

TEST_P(TransferContract, MayGoInTheMiddleOfATransferOrOfAHandler) {
  ASSERT_TRUE(Start(Arrange(Ending::kNone)));
  ASSERT_TRUE(loop_.RunUntil([this] { return states_.size() > 2; }));
  handler_ = [this](std::int16_t) {
    control_.reset();
    loop_.RunFor(milliseconds(5));
  };
  ASSERT_TRUE(loop_.RunUntil([this] { return !control_; }));
  const States told = states_;
  loop_.RunFor(milliseconds(5));
  EXPECT_EQ(states_, told);
}

// What only the real control promises. What servers do to it: hostile_server_test.cpp.
class CurlTransferTest : public TransferTest {};

TEST_F(CurlTransferTest, TriesEveryAddressOfAName) {
  server_.Expect(Reply("x"));
  Get(server_.Url("/", "localhost"));  // has two, of which one refuses
  ExpectOutcome(kReceived, 0, "x");
}

TEST_F(CurlTransferTest, FailsAtOnceForAnAddressThatCannotBeUsed) {
  const auto fault = [this](const std::string& url, const char* operation = "GET") {
    const Fault raised = control_->Execute(url, operation);
    EXPECT_FALSE(raised.description.empty()) << url;
    return raised.number;
  };
  const std::string malformed[] = {
      "", "http://", "http://:80/", "http://a:99999/", "http://a/\x01", "http://a b/", "http://[::1/"};
  for (const auto& url : malformed) EXPECT_EQ(fault(url), 12005) << url;
  for (const auto* url : {"ftp://a/", "file:///etc/passwd", "mailto:a"}) EXPECT_EQ(fault(url), 12006) << url;
  EXPECT_EQ(fault(server_.Url(), "POST"), 12016);
  EXPECT_EQ(control_->ResponseCode(), 0);
  loop_.RunFor(milliseconds(5));
  EXPECT_EQ(states_, States{});
}

TEST_F(CurlTransferTest, AsksForAddressesAsPeopleWriteThem) {
  const std::string port = std::to_string(server_.port());
  const std::string place = "127.0.0.1:" + port;
  const std::string name(10000, 'n');
  const std::pair<std::string, std::string> rows[] = {
      {" " + place + "/x ",                   "GET /x HTTP/1.1"           },
      {"localhost:" + port,                   "GET / HTTP/1.1"            },
      {"HTTP://" + place + "/a b?c d#e",      "GET /a%20b?c+d HTTP/1.1"   },
      {"http:\\\\" + place + "\\a\\b?c\\d",   "GET /a/b?c\\d HTTP/1.1"    },
      {"http://" + place + "/\xC3\xBC%20",    "GET /%c3%bc%20 HTTP/1.1"   },
      {"http://me:secret@" + place + "/../*", "GET /* HTTP/1.1"           },
      {"http://" + place + "/" + name,        "GET /" + name + " HTTP/1.1"},
  };
  for (const auto& [given, asked] : rows) {
    SCOPED_TRACE(given);
    server_.Expect(Reply(""));
    Get(given);
    ASSERT_FALSE(server_.requests().empty());
    const std::string head = server_.requests().back();
    EXPECT_EQ(head.substr(0, head.find('\r')), asked);
    EXPECT_NE(head.find("\r\nUser-Agent: tslyCheckNew/"), std::string::npos);
    EXPECT_EQ(head.find("\r\nAccept-Encoding"), std::string::npos);
  }
}

TEST_F(CurlTransferTest, TellsOfBytesAsTheyComeAndGivesUpWithoutAny) {
  control_->SetRequestTimeout(2);
  server_.Expect(ReplyWithLength("a", 5).Stall().Send("b").Stall().Send("c").Stall());
  int told = 0;
  handler_ = [&](std::int16_t state) {
    if (state != icReceivingResponse || ++told > 2) return;
    loop_.RunFor(milliseconds(1050));  // each pause is shorter than the limit, both together are longer
    server_.Release();
  };
  Get(server_.Url());
  ExpectOutcome(kCutOff, 12002, "abc");
  EXPECT_EQ(told, 3);
}

TEST_F(CurlTransferTest, TellsOfALongBodyAtMostEveryFiftyMilliseconds) {
  const std::string body(32 << 20, 'x');
  server_.Expect(Reply(body));
  const auto start = std::chrono::steady_clock::now();
  int told = 0;
  handler_ = [&](std::int16_t state) { told += state == icReceivingResponse; };
  Get(server_.Url());
  // One more for the head.
  EXPECT_LE(told, 2 + (std::chrono::steady_clock::now() - start) / milliseconds(50));
  EXPECT_GE(told, 1);
  EXPECT_TRUE(Body(100000) == body);
}

TEST_F(CurlTransferTest, ADiskWithoutRoomIsAnError) {
  rlimit old{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit small{100000, old.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  server_.Expect(Reply(std::string(1 << 20, 'x')));
  Get(server_.Url());
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &old), 0);
  ExpectOutcome(kCutOff, 112, std::string(100000, 'x'));

  std::filesystem::remove(folder_);
  server_.Expect(Reply("x"));
  Get(server_.Url());
  ExpectOutcome(kCutOff, 3, "");
  std::filesystem::create_directory(folder_);
}

}  // namespace
}  // namespace tsly
