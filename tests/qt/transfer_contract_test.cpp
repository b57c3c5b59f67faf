#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "base/text.h"
#include "posix/curl_transfer.h"
#include "qt/application_environment.h"
#include "support/http_server.h"
#include "support/ordinary_user.h"
#include "support/scripted_transfer.h"
#include "support/temp_folder.h"

namespace tsly {
namespace {

using std::chrono::milliseconds;
using States = std::vector<std::int16_t>;

const States kReceived{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 12};
const States kCutOff{1, 2, 3, 4, 5, 6, 7, 9, 10, 11};
const States kRefusedConnection{1, 2, 3, 11};

enum class Ending { kComplete, kShort, kRefused, kNone };

// One control, real or scripted, and what it reported.
class TransferTest : public testing::Test, protected RunningLoop {
 protected:
  TransferTest() {
    // Nobody listens there; whoever obeyed these would fail.
    for (const char* name : {"http_proxy", "ALL_PROXY"}) ::setenv(name, "http://127.0.0.1:1", 1);
    Use(std::make_unique<CurlTransfer>(loop, loop, trusted_.NativePath("trusted").string()));
  }
  ~TransferTest() override {
    control_.reset();
    EXPECT_TRUE(std::filesystem::is_empty(folder_.NativePath())) << "something was left in the folder";
  }

  void Use(std::unique_ptr<TransferControl> control) {
    control_ = std::move(control);
    control_->SetProtocol(icHTTP);
    control_->SetRequestTimeout(60);
    control_->SetSpoolFolder(folder_.CorePath(""));
    control_->SetStateChanged([this](std::int16_t state) {
      // A 7 that repeats another says nothing new.
      if (state != icReceivingResponse || states_.empty() || states_.back() != state) states_.push_back(state);
      if (handler_) handler_(state);
    });
  }

  void Start(const std::string& url) {
    states_.clear();
    EXPECT_FALSE(control_->Execute(url, "GET")) << url;
  }
  bool HasReached(std::int16_t state) const { return !states_.empty() && states_.back() == state; }
  void Get(const std::string& url) {
    Start(url);
    EXPECT_TRUE(RunUntil([this] { return HasReached(icError) || HasReached(icResponseCompleted); })) << url;
  }
  std::string Body(std::int32_t size = 1024) {
    std::string body;
    for (std::string chunk;; body += chunk) {
      EXPECT_FALSE(control_->GetChunk(size, ChunkType::icByteArray, chunk));
      EXPECT_LE(chunk.size(), static_cast<std::size_t>(size));
      if (chunk.empty()) return body;
    }
  }
  // Whether a file in the folder is open, one without a name too.
  bool HoldsSpace() const {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code gone;
      const std::string file = std::filesystem::read_symlink(entry, gone);
      if (file.starts_with(folder_.NativePath().string())) return true;
    }
    return false;
  }
  void ExpectOutcome(const States& states, std::int32_t code, const std::string& body) {
    EXPECT_EQ(states_, states);
    EXPECT_EQ(control_->ResponseCode(), code);
    EXPECT_EQ(control_->ResponseInfo().empty(), code == 0);
    const std::string got = Body();
    EXPECT_TRUE(got == body) << got.size() << " bytes, not " << body.size() << ": " << got.substr(0, 80);
    EXPECT_FALSE(HoldsSpace());
  }

  const TempFolder folder_, trusted_;
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
    auto scripted = std::make_unique<ScriptedTransfer>(loop);
    scripted_ = scripted.get();
    Use(std::move(scripted));
  }

  // The address of a document with that ending.
  std::string Arrange(Ending ending, const std::string& body = "") {
    if (scripted_ != nullptr) {
      scripted_->answers.push_back(ending == Ending::kComplete  ? Received(body)
                                   : ending == Ending::kShort   ? Failed(12030, "cut off", body)
                                   : ending == Ending::kRefused ? Failed(12029, "refused")
                                                                : Silent(1, 2, 3, 4, 5, 6, 7));
      return "http://scripted.invalid/";
    }
    if (ending == Ending::kRefused) return "http://127.0.0.1:" + std::to_string(HttpServer::UnusedPort()) + "/";
    Script script = ReplyWithLength(body, body.size() + (ending == Ending::kComplete ? 0 : 1));
    if (ending == Ending::kNone) script.Stall();
    server_.Expect(script);
    return server_.Url();
  }

  ScriptedTransfer* scripted_ = nullptr;
};

INSTANTIATE_TEST_SUITE_P(Controls, TransferContract, testing::Bool(),
                         [](const auto& param) { return param.param ? "Scripted" : "Curl"; });

TEST_P(TransferContract, TellsEachEndingAndKeepsAWholeResponseAlone) {
  const std::string body(3000, 'x');
  Get(Arrange(Ending::kComplete, body));
  ExpectOutcome(kReceived, 0, body);
  Get(Arrange(Ending::kShort, body));
  ExpectOutcome(kCutOff, 12030, "");
  Get(Arrange(Ending::kRefused));
  ExpectOutcome(kRefusedConnection, 12029, "");
  Get(Arrange(Ending::kComplete));
  ExpectOutcome(kReceived, 0, "");
  Get(Arrange(Ending::kComplete, body));
  control_->Cancel();
  ExpectOutcome(kReceived, 0, "");
}

TEST_P(TransferContract, TellsNothingInsideACallAndNothingOfAnAbandonedTransfer) {
  const std::string old = Arrange(Ending::kComplete);
  handler_ = [this](std::int16_t) {
    if (scripted_) scripted_->answers.push_back(FaultAtOnce(12005, "no address"));
    EXPECT_EQ(control_->Execute("", "GET").number, 12005);
    EXPECT_EQ(control_->ResponseCode(), 0);
  };
  Start(old);
  EXPECT_EQ(states_, States{});
  RunFor(milliseconds(20));
  EXPECT_EQ(states_, States{1});
  server_.DropScripts();
}

TEST_P(TransferContract, AHandlerMayCancelAtAnyState) {
  for (const std::int16_t last : States{1, 3, 6, 7, 8, 12}) {
    handler_ = [&](std::int16_t state) {
      if (state == last) control_->Cancel();
    };
    Start(Arrange(Ending::kComplete, "x"));
    ASSERT_TRUE(RunUntil([&] { return HasReached(last); })) << last;
    RunFor(milliseconds(5));
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
  Start(Arrange(Ending::kNone, "first"));
  ASSERT_TRUE(RunUntil([&] { return !inside.empty(); }));
  EXPECT_EQ(inside, kReceived);
  RunFor(milliseconds(5));
  ExpectOutcome(kReceived, 0, "second");
}

TEST_P(TransferContract, StatesWaitForAHandlerThatLetsEventsRun) {
  int depth = 0;
  handler_ = [&](std::int16_t) {
    EXPECT_EQ(++depth, 1);
    RunFor(milliseconds(5));
    --depth;
  };
  Get(Arrange(Ending::kComplete, "x"));
  ExpectOutcome(kReceived, 0, "x");
}

TEST_P(TransferContract, MayGoInTheMiddleOfATransferOrOfAHandler) {
  Start(Arrange(Ending::kNone));
  ASSERT_TRUE(RunUntil([this] { return states_.size() > 2; }));
  handler_ = [this](std::int16_t) {
    control_.reset();
    RunFor(milliseconds(5));
  };
  ASSERT_TRUE(RunUntil([this] { return !control_; }));
  const States reported = states_;
  RunFor(milliseconds(5));
  EXPECT_EQ(states_, reported);
  server_.DropScripts();  // the control may go before its request is sent
}

// What only the real control promises.
class CurlTransferTest : public TransferTest {};

TEST_F(CurlTransferTest, FailsAtOnceForAnAddressThatCannotBeUsed) {
  const std::pair<int, std::vector<std::string>> rows[] = {
      {12005, {"", "http://", "http://:80/", "http://a:99999/", "http://a/\x01", "http://a b/", "http://[::1/"}},
      {12006, {"ftp://a/", "file:///etc/passwd", "mailto:a"}                                                   },
  };
  for (const auto& [number, urls] : rows) {
    for (const auto& url : urls) {
      const Fault fault = control_->Execute(url, "GET");
      EXPECT_EQ(fault.number, number) << url;
      EXPECT_FALSE(fault.description.empty()) << url;
    }
  }
  EXPECT_EQ(control_->Execute(server_.Url(), "POST").number, 12016);
  EXPECT_EQ(control_->ResponseCode(), 0);
  RunFor(milliseconds(5));
  EXPECT_EQ(states_, States{});
}

TEST_F(CurlTransferTest, AsksForAddressesAsPeopleWriteThem) {
  const std::string port = std::to_string(server_.port()), place = "127.0.0.1:" + port, name(10000, 'n');
  const std::pair<std::string, std::string> rows[] = {
      {" " + place + "/x ",                   "GET /x HTTP/1.1"           },
      {"localhost:" + port,                   "GET / HTTP/1.1"            }, // has two addresses, of which one refuses
      {"HTTP://" + place + "/a b?c d#e",      "GET /a%20b?c+d HTTP/1.1"   },
      {"http:\\\\" + place + "\\a\\b?c\\d",   "GET /a/b?c\\d HTTP/1.1"    },
      {"http://" + place + "/\xC3\xBC%20",    "GET /%c3%bc%20 HTTP/1.1"   },
      {"http://me:secret@" + place + "/../*", "GET /* HTTP/1.1"           },
      {"http://" + place + "/" + name,        "GET /" + name + " HTTP/1.1"},
  };
  for (const auto& [given, asked] : rows) {
    SCOPED_TRACE(given);
    server_.Expect(Reply("x"));
    Get(given);
    ExpectOutcome(kReceived, 0, "x");
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
  int reported = 0;
  std::string arrived;
  handler_ = [&](std::int16_t state) {
    if (state != icReceivingResponse) return;
    arrived += Body();
    if (++reported > 2) return;
    RunFor(milliseconds(1050));  // each pause is shorter than the limit, both together are longer
    server_.Release();
  };
  Get(server_.Url());
  ExpectOutcome(kCutOff, 12002, "");
  EXPECT_EQ(arrived, "abc");
  EXPECT_EQ(reported, 3);
}

TEST_F(CurlTransferTest, TellsOfALongBodyAtMostEveryFiftyMilliseconds) {
  const std::string body(32 << 20, 'x');
  server_.Expect(Reply(body));
  const auto start = std::chrono::steady_clock::now();
  int reported = 0;
  handler_ = [&](std::int16_t state) { reported += state == icReceivingResponse; };
  Get(server_.Url());
  // One more for the head.
  EXPECT_LE(reported, 2 + (std::chrono::steady_clock::now() - start) / milliseconds(50));
  EXPECT_GE(reported, 1);
  EXPECT_TRUE(Body(100000) == body);
}

TEST_F(CurlTransferTest, ANameThatCannotBeAskedForIsNotAnUnknownOne) {
  const auto get = [this] {
    const rlimit none{0, 0};  // processes and threads, for everybody but root
    ::setrlimit(RLIMIT_NPROC, &none);
    Get("http://name.invalid/");
    return control_->ResponseCode() - 12000;
  };
  EXPECT_EQ(AsOrdinaryUser(get), 4);
}

TEST_F(CurlTransferTest, ADiskWithoutRoomIsAnError) {
  rlimit old{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit small{100000, old.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  server_.Expect(Reply(std::string(1 << 20, 'x')));
  bool held = false;
  handler_ = [&](std::int16_t state) { held |= state == icError && HoldsSpace(); };
  Get(server_.Url());
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &old), 0);
  EXPECT_FALSE(held) << "whoever is reported of a full disk finds room for his own files";
  ExpectOutcome(kCutOff, 112, "");

  std::filesystem::remove(folder_.NativePath());
  server_.Expect(Reply("x"));
  Get(server_.Url());
  ExpectOutcome(kCutOff, 3, "");
  std::filesystem::create_directory(folder_.NativePath());
}

const States kNotSecure{1, 2, 3, 4, 9, 10, 11};
const States kRequested{1, 2, 3, 4, 5, 6};
const States kAnswered{1, 2, 3, 4, 5, 6, 7};
const std::string kOk = "HTTP/1.1 200 OK\r\n";

// What a server does, and the result. States without an end: of a server that then sends nothing.
struct Case {
  const char* name;
  std::vector<Script> scripts;
  States states;
  std::int32_t code = 0;
  std::string body{};
  std::string url{};  // "": the server's
};
Case Whole(const char* name, const Script& script, const std::string& body) {
  return {name, {script}, kReceived, 0, body};
}
Case Broken(const char* name, std::int32_t code, const Script& script) { return {name, {script}, kCutOff, code}; }
Case Stalled(const char* name, const States& states, const Script& script) { return {name, {script}, states}; }
Case At(const char* name, const std::string& url, const States& states, std::int32_t code) {
  return {name, {}, states, code, "", url};
}
Case Secure(const char* name, const HttpServer& server, const Script& script, const States& states, std::int32_t code) {
  return {name, {script}, states, code, code == 0 ? "x" : "", Replace(server.Url(), "http:", "https:")};
}
Case Redirected(std::size_t times, const std::string& to, Case end) {
  end.scripts.insert(end.scripts.begin(), times, RedirectTo(to, "elsewhere"));
  return end;
}

class ServersTest : public TransferTest {
 protected:
  void Check(const Case& row, HttpServer& server) {
    SCOPED_TRACE(row.name);
    for (const Script& script : row.scripts) server.Expect(script);
    handler_ = [&](std::int16_t state) {
      if (row.code == 12031 && state == icReceivingResponse) server.Release();
    };
    Start(row.url.empty() ? server.Url() : row.url);
    EXPECT_TRUE(RunUntil([&] { return HasReached(row.states.back()); }));
    if (row.code == 0 && row.states.back() != icResponseCompleted) {
      RunFor(milliseconds(5));
      control_->Cancel();
    }
    ExpectOutcome(row.states, row.code, row.body);
    EXPECT_TRUE(server.AllAskedFor());
    server.DropScripts();
  }
};

TEST_F(ServersTest, EachAnswerHasItsOutcome) {
  const std::string big(1025, 'b'), page = "<html>[Versions]</html>";
  const std::string chunked = kOk + "Transfer-Encoding: chunked\r\n\r\n";
  const std::string refusing = "http://127.0.0.1:" + std::to_string(HttpServer::UnusedPort()) + "/";
  const std::string local = "://127.0.0.1:" + std::to_string(server_.port()) + "/";
  const Case rows[] = {
      Whole("status 100 first", Raw("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.0 200 OK\r\n\r\nx"), "x"),
      Whole("status 204", Raw("HTTP/1.1 204 No Content\r\n\r\n"), ""),
      Whole("status 206", Reply(page, "206 Partial Content"), page),
      Whole("status 300", Reply(page, "300 Multiple Choices"), page),
      Whole("status 304", Raw("HTTP/1.1 304 Not Modified\r\n\r\n"), ""),
      Whole("status 401", Reply(page, "401 Unauthorized"), page),
      Whole("status 404", Reply(page, "404 Not Found"), page),
      Whole("status 503", Reply(page, "503 Service Unavailable"), page),
      Whole("no length, byte by byte", Script().Receive().Send(kOk + "\r\n" + big, 1), big),
      Whole("every byte", Reply(std::string("\0\x01\xFF\x80\r\n", 6)), std::string("\0\x01\xFF\x80\r\n", 6)),
      Whole("packed without being asked", Raw(kOk + "Content-Encoding: gzip\r\n\r\n\x1F\x8B"), "\x1F\x8B"),
      Whole("length too small", ReplyWithLength("12345", 3), "123"),
      Broken("no byte of a length", 12030, ReplyWithLength("", 1025)),
      Broken("length rubbish", 12152, Raw(kOk + "Content-Length: nine\r\n\r\n12")),
      Broken("cut in the status line", 12030, Raw("HTTP/1.")),
      Broken("cut in the head", 12030, Raw(kOk + "Content-Le")),
      Broken("cut after a first head", 12030, Raw("HTTP/1.1 100 Continue\r\n\r\n")),
      Whole("chunks", Raw(chunked + "400\r\n" + big.substr(1) + "\r\n1\r\nb\r\n0\r\n\r\n"), big),
      Whole("fields after the chunks", Raw(chunked + "1\r\nx\r\n0\r\nA: b\r\n\r\n"), "x"),
      Broken("chunks cut off", 12030, Raw(chunked + "5\r\n123")),
      Broken("chunks rubbish", 12152, Raw(chunked + "3\r\n123\r\nZZ\r\n")),
      Broken("not HTTP", 12152, Raw("220 ready to serve\r\n")),
      Broken("endless header", 12152, Raw(kOk + "X: " + std::string(400000, 'x'))),
      Broken("closed at once", 12030, Script()),
      Broken("closed after the request", 12030, Raw("")),
      Broken("reset in the body", 12031, ReplyWithLength("123", 6).Stall().Reset()),
      Stalled("silent before the first byte", kRequested, Script().Receive().Stall()),
      Stalled("silent in the head", kAnswered, Raw(kOk + "Content-Le").Stall()),
      Stalled("silent in the body", kAnswered, ReplyWithLength("123", 6).Stall()),
      Redirected(1, "/next place", Whole("redirected once", Reply("here"), "here")),
      Redirected(10, "/next", Whole("redirected ten times", Reply("here"), "here")),
      Redirected(10, "/next", Broken("redirected in a circle", 12156, RedirectTo("/next"))),
      Broken("redirected to another kind", 12156, RedirectTo("ftp" + local)),
      Broken("redirected to a refusing port", 12029, RedirectTo(refusing)),
      Whole("redirected to nowhere", Raw("HTTP/1.1 302 Found\r\nContent-Length: 1\r\n\r\nx"), "x"),
      At("no such name", "http://no-such-name.invalid/", {1, 11}, 12007),
  };
  for (const Case& row : rows) Check(row, server_);
}

TEST_F(ServersTest, SecureServersAreBelievedByTheirCertificates) {
  HttpServer good(Secured(Certificate::kGood, trusted_.NativePath("trusted")));
  HttpServer other_name(Secured(Certificate::kOtherName, trusted_.NativePath("other")));
  HttpServer expired(Secured(Certificate::kExpired, trusted_.NativePath("expired")));
  HttpServer stranger(Secured(Certificate::kGood, trusted_.NativePath("stranger")));
  // All but the stranger's come from an authority that is trusted.
  trusted_.Write("trusted", trusted_.Read("trusted") + trusted_.Read("other") + trusted_.Read("expired"));
  Check(Secure("trusted", good, Reply("x"), kReceived, 0), good);
  Check(Secure("redirected to an open way", good, RedirectTo(server_.Url()), kCutOff, 12156), good);
  Check(Secure("for another name", other_name, Script(), kNotSecure, 12038), other_name);
  Check(Secure("expired", expired, Script(), kNotSecure, 12037), expired);
  Check(Secure("unknown authority", stranger, Script(), kNotSecure, 12045), stranger);
  Check(Secure("answers without TLS", server_, Script().Send("no TLS\r\n"), kNotSecure, 12157), server_);
}

}  // namespace
}  // namespace tsly
