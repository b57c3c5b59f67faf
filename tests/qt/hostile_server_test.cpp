// A search by hand against servers that do everything a server can do: the whole program with the real transfer control
// on the real loop; only windows, registry and what passes for time are the tests'.
#include <gtest/gtest.h>

#include <set>

#include "base/text.h"
#include "posix/curl_transfer.h"
#include "qt/application_environment.h"
#include "qt/qt_event_loop.h"
#include "support/headless_app.h"
#include "support/http_server.h"

namespace tsly {
namespace {

using States = std::vector<std::int16_t>;

const States kReceived{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 12};
const States kCutOff{1, 2, 3, 4, 5, 6, 7, 9, 10, 11};
const States kRefused{1, 2, 3, 11};
const States kNotSecure{1, 2, 3, 4, 9, 10, 11};
const States kRequested{1, 2, 3, 4, 5, 6};

const std::string kOffer = "[Versions]\r\nA=1\r\n";
const std::string kLeftOver = "[Versions]\r\nOld=1\r\n";
const std::string kOk = "HTTP/1.1 200 OK\r\n";

// The system's, and what the test adds.
class JumpingClock final : public Clock {
 public:
  DateTime Now() override { return 45000.5; }
  SteadyTime Steady() override { return std::chrono::steady_clock::now().time_since_epoch() + ahead; }
  SteadyTime ahead{0};
};

// Passes everything on, and writes the states down.
class WatchedTransfer final : public TransferControl {
 public:
  explicit WatchedTransfer(TransferControl& inner) : inner_(inner) {}

  States states;
  std::function<void(std::int16_t)> after_state;

  void SetStateChanged(std::function<void(std::int16_t)> handler) override {
    inner_.SetStateChanged([this, handler](std::int16_t state) {
      // A 7 that repeats another says nothing new.
      if (state != icReceivingResponse || states.empty() || states.back() != state) states.push_back(state);
      if (handler) handler(state);
      if (after_state) after_state(state);
    });
  }
  void SetRequestTimeout(std::int32_t seconds) override { inner_.SetRequestTimeout(seconds); }
  void SetProtocol(std::int16_t protocol) override { inner_.SetProtocol(protocol); }
  Fault Execute(const std::string& url, const std::string& operation) override {
    states.clear();
    return start_fault = inner_.Execute(url, operation);
  }
  void Cancel() override { inner_.Cancel(); }
  Fault GetChunk(std::int32_t size, ChunkType type, std::string& chunk) override {
    return inner_.GetChunk(size, type, chunk);
  }
  std::int32_t ResponseCode() override { return inner_.ResponseCode(); }
  std::string ResponseInfo() override { return inner_.ResponseInfo(); }

  Fault start_fault;

 private:
  TransferControl& inner_;
};

// A server's doing, and what is to come of it.
struct Case {
  const char* name;
  std::vector<Script> scripts;
  States states;
  std::int32_t code = 0;
  std::string document;         // what is stored
  std::int16_t silent_after{};  // the state behind which nothing comes any more
  std::string url{};            // "": the server's
};
Case Whole(const char* name, Script script, std::string document) {
  return {name, {std::move(script)}, kReceived, 0, std::move(document)};
}
Case Broken(const char* name, std::int32_t code, Script script) {
  return {name, {std::move(script)}, kCutOff, code, ""};
}
Case Stalled(const char* name, std::int16_t last, Script script) {
  States states = kRequested;
  if (last == icReceivingResponse) states.push_back(last);
  return {name, {std::move(script)}, std::move(states), 0, "", last};
}
Case At(const char* name, std::string url, States states, std::int32_t code) {
  return {name, {}, std::move(states), code, "", 0, std::move(url)};
}
Case Redirected(const char* name, int times, const std::string& to, Case end) {
  end.name = name;
  end.scripts.insert(end.scripts.begin(), static_cast<std::size_t>(times), RedirectTo(to, "elsewhere"));
  return end;
}
Case Secure(const char* name, const HttpServer& server, Script script, States states, std::int32_t code) {
  return {name, {std::move(script)}, std::move(states), code, "x", 0, Replace(server.Url(), "http:", "https:")};
}

class HostileServer : public testing::Test {
 protected:
  HostileServer() {
    CopyResources(folder_);
    program_.global.Main(program_.dialog);
  }

  std::string Text(const char* key) { return program_.localization.GetResString(key); }

  // The log of a search whose transfer went through `states`.
  std::string ExpectedLog(const std::string& url, const Case& row) {
    static const char* const kWords[] = {
        "", "Resolving host", "Host resolved", "Connecting", "Connected",         "Requesting", "Request sent", "",
        "", "Disconnecting",  "Disconnected",  "",           "Response completed"};
    const bool refused_name = row.code == 12007, failed_at_once = static_cast<bool>(transfer_.start_fault);
    std::string log = "GetDocument: Starting download: GET " + Trim(url) + "\n";
    if (failed_at_once) {
      log += "GetDocument: Error " + Hex(row.code) + ": " + transfer_.start_fault.description + "\n";
    }
    std::string received = "0";
    for (const std::int16_t state : row.states) {
      if (*kWords[state] != '\0') log += std::string("StateChanged: State = ") + kWords[state] + "\n";
      if (state == 12) {
        log += "StateChanged: Opening temp file \"" + folder_.CorePath(kFile) +
               "\"\nStateChanged: Writing text file\nStateChanged: Closing file\nDocumentReceived = 1\n";
        received = "1";
      } else if (state == 11) {
        log += "StateChanged: Error [" + std::to_string(row.code) + "] " + transfer_.ResponseInfo() +
               "\nDocumentReceived = 2\n";
        received = refused_name ? "1" : "2";
      }
    }
    return log + "GetDocument: Exiting wait loop, DocumentReceived=" + received +
           ", DocumentTimeout=" + (row.silent_after != 0 ? "True" : "False") + "\nGetDocument: Exiting, returning " +
           (received == "1" ? "True" : "False") + "\n";
  }

  HeadlessToolkit::Message ExpectedMessage(const Case& row) {
    const bool received = row.code == 12007 || (!row.states.empty() && row.states.back() == 12);
    if (received) return {Text("49:No update available"), 64};
    const bool told_by_transfer = row.code != 0 && !transfer_.start_fault;
    std::string text =
        Replace(Text("49:Communication error, common message"), "[TYPE]", Text("49:Communication error, versions"));
    text = Replace(text, "[NUMBER]", told_by_transfer ? "1/" + std::to_string(row.code) : "3/10012");
    return {Replace(text, "[DESCRIPTION]", told_by_transfer ? transfer_.ResponseInfo() : "Timeout"), 48};
  }

  std::set<std::string> FilesOnDisk() {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.NativePath())) {
      if (entry.is_regular_file() && !entry.path().string().ends_with(".log"))
        names.insert(entry.path().lexically_relative(folder_.NativePath()).string());
    }
    return names;
  }

  void Search(const std::string& url) {
    program_.registry.SetRegSubkeyValue(kLocalMachine, SettingsKey, VersionSubkey, kValueVersionFileUrl, url);
    program_.global.ResetLogFile();
    toolkit_.messages.clear();
    toolkit_.answers = {kAnswerOk};
    program_.dialog.ShowTheResults();
  }

  void Check(const Case& row, HttpServer& server) {
    SCOPED_TRACE(row.name);
    for (const Script& script : row.scripts) server.Expect(script);
    folder_.Write(kFile, kLeftOver);
    const std::string url = row.url.empty() ? server.Url() : row.url;
    transfer_.after_state = [&](std::int16_t state) {
      if (row.code == 12031 && state == icReceivingResponse) server.Release();
      if (state == row.silent_after) loop_.Post([this] { clock_.ahead += std::chrono::seconds(16); });
    };
    const auto files = FilesOnDisk();
    Search(url);
    EXPECT_EQ(transfer_.states, row.states);
    EXPECT_EQ(transfer_.start_fault ? transfer_.start_fault.number : transfer_.ResponseCode(), row.code);
    EXPECT_EQ(Log(), ExpectedLog(url, row));
    ASSERT_EQ(toolkit_.messages.size(), 1u);
    EXPECT_EQ(toolkit_.messages[0].prompt, ExpectedMessage(row).prompt);
    EXPECT_EQ(toolkit_.messages[0].style, ExpectedMessage(row).style);
    const bool stored = !row.states.empty() && row.states.back() == 12;
    if (row.code == 12007) {
      EXPECT_FALSE(folder_.Has(kFile)) << "what was left over is no answer";
      folder_.Write(kFile, kLeftOver);
    }
    EXPECT_EQ(folder_.Read(kFile), stored ? row.document : kLeftOver);
    EXPECT_EQ(FilesOnDisk(), files);
    const Label& link = program_.dialog.controls.lblInfo105;
    EXPECT_EQ(link.MousePointer(), kPointerCustom);
    EXPECT_EQ(link.Text(), program_.dialog.CheckLinkTexts[0]);
    EXPECT_TRUE(link.GetFont().underline);
    EXPECT_EQ(toolkit_.screen_pointers.back(), kPointerDefault);
    EXPECT_TRUE(program_.dialog.Loaded());
    EXPECT_TRUE(shell_.opened_urls.empty() && shell_.launched.empty());
    server.DropScripts();
  }

  std::string Log() { return LogLines(folder_.Read(kLog)); }

  static constexpr const char* kFile = "AppData\\Quillon Systems\\Tessaly Studio\\updates.ini";
  static constexpr const char* kLog = "AppData\\Quillon Systems\\Tessaly Studio\\tslyUpdater.log";

  TempFolder folder_;
  JumpingClock clock_;
  QtEventLoop loop_{clock_};
  TestFolders folders_{folder_};
  PosixFiles files_;
  IniReader profiles_;
  MemoryRegistry registry_;
  HeadlessToolkit toolkit_;
  RecordingShell shell_;
  RecordingUnzipFactory unzip_;
  FixedLocale locale_;
  LocalAutomation automation_;
  CurlTransfer curl_{loop_, loop_, [this] { return folder_.NativePath(); }, folder_.NativePath("trusted").string()};
  WatchedTransfer transfer_{curl_};
  Program program_{
      {.registry = registry_,
       .profiles = profiles_,
       .folders = folders_,
       .files = files_,
       .clock = clock_,
       .transfer = transfer_,
       .unzip = unzip_,
       .shell = shell_,
       .locale = locale_,
       .toolkit = toolkit_,
       .loop = loop_,
       .automation = automation_},
      0,
      ""
  };
};

TEST_F(HostileServer, EachAnswerHasItsOutcome) {
  const std::string big(1025, 'b'), page = "<html>[Versions]</html>";
  const std::string chunked = kOk + "Transfer-Encoding: chunked\r\n\r\n";
  const std::string refusing = "http://127.0.0.1:" + std::to_string(HttpServer::UnusedPort()) + "/";
  const auto cut = [&](std::size_t at) {
    return Broken("cut in the body", 12030, ReplyWithLength(big.substr(0, at), 1025));
  };
  HttpServer server;
  const std::string local = "://127.0.0.1:" + std::to_string(server.port()) + "/";
  const Case rows[] = {
      Whole("nothing newer", Reply("[Versions]\r\nA=0.0.0.0\r\n"), "[Versions]\r\nA=0.0.0.0\r\n"),
      Whole("status 100 first", Raw("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.0 200 OK\r\n\r\nx"), "x"),
      Whole("status 204", Raw("HTTP/1.1 204 No Content\r\n\r\n"), ""),
      Whole("status 206", Reply(page, "206 Partial Content"), page),
      Whole("status 300", Reply(page, "300 Multiple Choices"), page),
      Whole("status 304", Raw("HTTP/1.1 304 Not Modified\r\n\r\n"), ""),
      Whole("status 401", Reply(page, "401 Unauthorized"), page),
      Whole("status 404", Reply(page, "404 Not Found"), page),
      Whole("status 500", Reply(page, "500 Internal Server Error"), page),
      Whole("status 503", Reply(page, "503 Service Unavailable"), page),
      Whole("empty", Reply(""), ""),
      Whole("one byte", Reply("x"), "x"),
      Whole("one chunk of the file", Reply(big.substr(1)), big.substr(1)),
      Whole("a chunk and a byte", Reply(big), big),
      Whole("byte by byte", Script().Receive().Send(kOk + "\r\nslow", 1), "slow"),
      Whole("every byte", Reply(std::string("\0\x01\xFF\x80\r\n", 6)), std::string("\0\x01\xFF\x80\r\n", 6)),
      Whole("packed without being asked", Raw(kOk + "Content-Encoding: gzip\r\n\r\n\x1F\x8B"), "\x1F\x8B"),
      Whole("no length", ReplyWithoutLength(big), big),
      Whole("length too small", ReplyWithLength("12345", 3), "123"),
      Broken("length too great", 12030, ReplyWithLength("12345", 6)),
      Broken("length rubbish", 12152, Raw(kOk + "Content-Length: nine\r\n\r\n12")),
      Broken("cut in the status line", 12030, Raw("HTTP/1.")),
      Broken("cut in the head", 12030, Raw(kOk + "Content-Le")),
      Broken("cut behind a first head", 12030, Raw("HTTP/1.1 100 Continue\r\n\r\n")),
      cut(0),
      cut(1),
      cut(500),
      cut(1024),
      Whole("chunks", ReplyInChunks(big, 100), big),
      Whole("fields behind the chunks", Raw(chunked + "1\r\nx\r\n0\r\nA: b\r\n\r\n"), "x"),
      Broken("chunks cut off", 12030, Raw(chunked + "5\r\n123")),
      Broken("chunks rubbish", 12152, Raw(chunked + "3\r\n123\r\nZZ\r\n")),
      Broken("not HTTP", 12152, Raw("220 ready to serve\r\n")),
      Broken("endless header", 12152, Raw(kOk + "X: " + std::string(400000, 'x'))),
      Broken("closed at once", 12030, CloseAtOnce()),
      Broken("closed after the request", 12030, Raw("")),
      Broken("reset in the body", 12031, ReplyWithLength("123", 6).Stall().Reset()),
      Stalled("silent before the first byte", icRequestSent, Script().Receive().Stall()),
      Stalled("silent in the head", icReceivingResponse, Raw(kOk + "Content-Le").Stall()),
      Stalled("silent in the body", icReceivingResponse, ReplyWithLength("123", 6).Stall()),
      Redirected("redirected once", 1, "/next place", Whole("", Reply("here"), "here")),
      Redirected("redirected ten times", 10, "/next", Whole("", Reply("here"), "here")),
      Redirected("redirected in a circle", 10, "/next", Broken("", 12156, RedirectTo("/next"))),
      Redirected("redirected to another kind", 0, "", Broken("", 12156, RedirectTo("ftp" + local))),
      Redirected("redirected to a refusing port", 0, "", Broken("", 12029, RedirectTo(refusing))),
      Whole("redirected to nowhere", Raw("HTTP/1.1 302 Found\r\nContent-Length: 1\r\n\r\nx"), "x"),
      At("refused", refusing, kRefused, 12029),
      At("no such name", "http://no-such-name.invalid/", {1, 11}, 12007),
      At("no address", "http://", {}, 12005),
      At("a bad port", "http://127.0.0.1:99999/", {}, 12005),
      At("another kind", "ftp" + local, {}, 12006),
  };
  for (const Case& row : rows) Check(row, server);
  EXPECT_GE(std::size(rows), 40u);
}

TEST_F(HostileServer, SecureServersAreBelievedByTheirCertificates) {
  HttpServer good(Certificate::kGood, folder_.NativePath("trusted"));
  HttpServer other_name(Certificate::kOtherName, folder_.NativePath("other"));
  HttpServer expired(Certificate::kExpired, folder_.NativePath("expired"));
  HttpServer stranger(Certificate::kGood, folder_.NativePath("stranger"));
  HttpServer plain;
  // All but the stranger's come from an authority that is trusted.
  folder_.Write("trusted", folder_.Read("trusted") + folder_.Read("other") + folder_.Read("expired"));
  Check(Secure("trusted", good, Reply("x"), kReceived, 0), good);
  Check(Secure("redirected to an open way", good, RedirectTo(plain.Url()), kCutOff, 12156), good);
  Check(Secure("for another name", other_name, Script(), kNotSecure, 12038), other_name);
  Check(Secure("expired", expired, Script(), kNotSecure, 12037), expired);
  Check(Secure("unknown authority", stranger, Script(), kNotSecure, 12045), stranger);
  Check(Secure("answers without TLS", plain, Script().Send("no TLS\r\n"), kNotSecure, 12157), plain);
}

TEST_F(HostileServer, AnOfferAndALateDocument) {
  HttpServer server;
  // Bytes that trickle for four minutes of the program's time, none of them later than 15 s after the one before.
  Script trickle = ReplyWithLength("", static_cast<std::int64_t>(kLeftOver.size()));
  for (const char c : kLeftOver) trickle.Stall().Send(std::string(1, c));
  server.Expect(trickle);
  transfer_.after_state = [&](std::int16_t state) {
    if (state != icReceivingResponse) return;
    // By then the control tells of the next byte again.
    loop_.SetAlarm(this, std::chrono::milliseconds(60), [&] {
      clock_.ahead += std::chrono::seconds(13);
      server.Release();
    });
  };
  Search(server.Url());
  EXPECT_TRUE(toolkit_.messages.empty());
  EXPECT_GE(clock_.ahead, std::chrono::minutes(4));
  EXPECT_EQ(program_.dialog.UpdateNames, (std::vector<std::string>{"", "Old"}));
  EXPECT_TRUE(program_.dialog.controls.picStep200.Visible());
  EXPECT_EQ(program_.dialog.CheckedOn, 0);

  // A search gives up, and what it asked for comes all the same.
  server.Expect(Raw(kOk + "\r\n").Stall().Send(kOffer));
  transfer_.after_state = [&](std::int16_t state) {
    if (state == icReceivingResponse) loop_.Post([this] { clock_.ahead += std::chrono::seconds(16); });
  };
  Search(server.Url());
  EXPECT_EQ(toolkit_.messages.size(), 1u);
  EXPECT_EQ(folder_.Read(kFile), kLeftOver);
  server.Release();
  while (transfer_.states.back() != icResponseCompleted) loop_.Wait(clock_.Steady() + std::chrono::seconds(10));
  EXPECT_EQ(folder_.Read(kFile), kOffer);
  EXPECT_TRUE(Log().ends_with("StateChanged: Closing file\nDocumentReceived = 1\n"));

  server.Expect(Reply(kOffer));
  transfer_.after_state = nullptr;
  Search(server.Url());
  EXPECT_EQ(program_.dialog.UpdateNames, (std::vector<std::string>{"", "A"}));
}

}  // namespace
}  // namespace tsly
