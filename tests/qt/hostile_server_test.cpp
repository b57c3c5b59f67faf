// A search by hand against servers that do everything a server can do: the whole program with the real transfer control
// on the real loop; only windows, registry and what passes for time are the tests'.
#include <gtest/gtest.h>

#include <set>

#include "base/text.h"
#include "posix/curl_transfer.h"
#include "qt/application_environment.h"
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
const States kAnswered{1, 2, 3, 4, 5, 6, 7};

const std::string kOffer = "[Versions]\r\nA=1\r\n";
const std::string kLeftOver = "[Versions]\r\nOld=1\r\n";
const std::string kOk = "HTTP/1.1 200 OK\r\n";

// Records the states.
class WatchedTransfer final : public CurlTransfer {
 public:
  using CurlTransfer::CurlTransfer;

  States states;
  std::function<void(std::int16_t)> after_state;
  Fault start_fault;

  void SetStateChanged(std::function<void(std::int16_t)> handler) override {
    CurlTransfer::SetStateChanged([this, handler](std::int16_t state) {
      // A 7 that repeats another says nothing new.
      if (state != icReceivingResponse || states.empty() || states.back() != state) states.push_back(state);
      if (handler) handler(state);
      if (after_state) after_state(state);
    });
  }
  Fault Execute(const std::string& url, const std::string& operation) override {
    states.clear();
    return start_fault = CurlTransfer::Execute(url, operation);
  }
};

// A server's doing, and what is to come of it. States without an end: of a server that then says nothing any more.
struct Case {
  const char* name;
  std::vector<Script> scripts;
  States states;
  std::int32_t code = 0;
  std::string document{};  // what is stored
  std::string url{};       // "": the server's
};
Case Whole(const char* name, const Script& script, const std::string& document) {
  return {name, {script}, kReceived, 0, document};
}
Case Broken(const char* name, std::int32_t code, const Script& script) { return {name, {script}, kCutOff, code}; }
Case Stalled(const char* name, const States& states, const Script& script) { return {name, {script}, states}; }
Case At(const char* name, const std::string& url, const States& states, std::int32_t code) {
  return {name, {}, states, code, "", url};
}
Case Secure(const char* name, const HttpServer& server, const Script& script, const States& states, std::int32_t code) {
  return {name, {script}, states, code, "x", Replace(server.Url(), "http:", "https:")};
}
Case Redirected(std::size_t times, const std::string& to, Case end) {
  end.scripts.insert(end.scripts.begin(), times, RedirectTo(to, "elsewhere"));
  return end;
}

class HostileServer : public testing::Test, protected RunningLoop {
 protected:
  HostileServer() {
    CopyResources(folder_);
    program_.global.Main(program_.dialog);
  }

  std::set<std::string> FilesOnDisk() {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.NativePath())) {
      if (entry.is_regular_file() && !std::set<std::string>{".log", ".lst"}.contains(entry.path().extension()))
        names.insert(entry.path().string());
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

  // The log of a search that went through the row's states and ended with that outcome.
  std::string ExpectedLog(const std::string& url, const Case& row, const std::string& outcome, bool silent) {
    static const char* const kWords[] = {
        "", "Resolving host", "Host resolved", "Connecting", "Connected",         "Requesting", "Request sent", "",
        "", "Disconnecting",  "Disconnected",  "",           "Response completed"};
    std::string log = "GetDocument: Starting download: GET " + Trim(url) + "\n";
    if (const Fault& fault = transfer_.start_fault) {
      log += "GetDocument: Error " + Hex(row.code) + ": " + fault.description + "\n";
    }
    for (const std::int16_t state : row.states) {
      if (*kWords[state] != '\0') log += std::string("StateChanged: State = ") + kWords[state] + "\n";
      if (state == icResponseCompleted) {
        log += "StateChanged: Opening temp file \"" + folder_.CorePath(kFile) +
               "\"\nStateChanged: Writing text file\nStateChanged: Closing file\nDocumentReceived = 1\n";
      } else if (state == icError) {
        log += "StateChanged: Error [" + std::to_string(row.code) + "] " + transfer_.ResponseInfo() +
               "\nDocumentReceived = 2\n";
      }
    }
    return log + "GetDocument: Exiting wait loop, DocumentReceived=" + outcome +
           ", DocumentTimeout=" + (silent ? "True" : "False") + "\nGetDocument: Exiting, returning " +
           (outcome == "1" ? "True\n" : "False\n");
  }

  void Check(const Case& row, HttpServer& server) {
    SCOPED_TRACE(row.name);
    for (const Script& script : row.scripts) server.Expect(script);
    folder_.Write(kFile, kLeftOver);
    const std::int16_t last = row.states.empty() ? std::int16_t{icNone} : row.states.back();
    const bool stored = last == icResponseCompleted, failed = last == icError, no_name = row.code == 12007;
    const bool silent = row.code == 0 && !stored;
    transfer_.after_state = [&](std::int16_t state) {
      if (row.code == 12031 && state == icReceivingResponse) server.Release();
      if (silent && state == last) loop.Post([this] { clock.ahead += std::chrono::seconds(16); });
    };
    const auto files = FilesOnDisk();
    const std::string url = row.url.empty() ? server.Url() : row.url;
    Search(url);
    EXPECT_EQ(transfer_.states, row.states);
    EXPECT_EQ(transfer_.start_fault ? transfer_.start_fault.number : transfer_.ResponseCode(), row.code);

    const std::string outcome = stored || no_name ? "1" : failed ? "2" : "0";
    EXPECT_EQ(Log(), ExpectedLog(url, row, outcome, silent));
    ASSERT_EQ(toolkit_.messages.size(), 1u);
    EXPECT_EQ(toolkit_.messages[0].style, outcome == "1" ? kIconInformation : kIconWarning);
    const std::string& prompt = toolkit_.messages[0].prompt;
    const std::string message = "Error 1/" + std::to_string(row.code) + ": " + transfer_.ResponseInfo();
    EXPECT_TRUE(prompt.ends_with(outcome == "1" ? program_.localization.GetResString("49:No update available")
                                 : failed       ? message
                                                : "Error 3/10012: Timeout"))
        << prompt;
    EXPECT_EQ(transfer_.ResponseInfo().empty(), !failed);

    EXPECT_EQ(folder_.Has(kFile), !no_name) << "what was left over is no answer";
    if (no_name) folder_.Write(kFile, kLeftOver);
    EXPECT_EQ(folder_.Read(kFile), stored ? row.document : kLeftOver);
    EXPECT_EQ(FilesOnDisk(), files);
    const Label& link = program_.dialog.controls.lblInfo105;
    EXPECT_EQ(link.MousePointer(), kPointerCustom);
    EXPECT_EQ(link.Text(), program_.dialog.CheckLinkTexts[0]);
    EXPECT_EQ(toolkit_.screen_pointers.back(), kPointerDefault);
    EXPECT_TRUE(program_.dialog.Loaded());
    EXPECT_TRUE(shell_.opened_urls.empty() && shell_.launched.empty());
    EXPECT_TRUE(server.AllAskedFor());
    server.DropScripts();
  }

  std::string Log() { return LogLines(folder_.Read("AppData\\Quillon Systems\\Tessaly Studio\\tslyUpdater.log")); }

  static constexpr const char* kFile = "AppData\\Quillon Systems\\Tessaly Studio\\updates.ini";

  TempFolder folder_;
  TestFolders folders_{folder_};
  SystemFiles files_;
  IniReader profiles_;
  MemoryRegistry registry_;
  HeadlessToolkit toolkit_;
  RecordingShell shell_;
  RecordingUnzipFactory unzip_;
  FixedLocale locale_;
  LocalAutomation automation_;
  WatchedTransfer transfer_{loop, loop, folder_.NativePath("trusted").string()};
  Program program_{
      Platform{registry_, profiles_, folders_, files_, clock, transfer_, unzip_, shell_, locale_, toolkit_, loop,
               automation_},
      0, ""
  };
};

TEST_F(HostileServer, EachAnswerHasItsOutcome) {
  const std::string big(1025, 'b'), page = "<html>[Versions]</html>";
  const std::string chunked = kOk + "Transfer-Encoding: chunked\r\n\r\n";
  const std::string refusing = "http://127.0.0.1:" + std::to_string(HttpServer::UnusedPort()) + "/";
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
      Whole("status 503", Reply(page, "503 Service Unavailable"), page),
      Whole("empty", Reply(""), ""),
      Whole("one chunk of the file", Reply(big.substr(1)), big.substr(1)),
      Whole("a chunk and a byte", Reply(big), big),
      Whole("no length, byte by byte", Script().Receive().Send(kOk + "\r\n" + big, 1), big),
      Whole("every byte", Reply(std::string("\0\x01\xFF\x80\r\n", 6)), std::string("\0\x01\xFF\x80\r\n", 6)),
      Whole("packed without being asked", Raw(kOk + "Content-Encoding: gzip\r\n\r\n\x1F\x8B"), "\x1F\x8B"),
      Whole("length too small", ReplyWithLength("12345", 3), "123"),
      Broken("no byte of a length", 12030, ReplyWithLength("", 1025)),
      Broken("length too great", 12030, ReplyWithLength("12345", 6)),
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
      At("refused", refusing, kRefused, 12029),
      At("no such name", "http://no-such-name.invalid/", {1, 11}, 12007),
      At("no address", "http://", {}, 12005),
      At("a bad port", "http://127.0.0.1:99999/", {}, 12005),
      At("another kind", "ftp" + local, {}, 12006),
  };
  for (const Case& row : rows) Check(row, server);
}

TEST_F(HostileServer, SecureServersAreBelievedByTheirCertificates) {
  HttpServer good(Secured(Certificate::kGood, folder_.NativePath("trusted")));
  HttpServer other_name(Secured(Certificate::kOtherName, folder_.NativePath("other")));
  HttpServer expired(Secured(Certificate::kExpired, folder_.NativePath("expired")));
  HttpServer stranger(Secured(Certificate::kGood, folder_.NativePath("stranger")));
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
  Script trickle = ReplyWithLength("", kLeftOver.size());
  for (const char c : kLeftOver) trickle.Stall().Send(std::string(1, c));
  server.Expect(trickle);
  transfer_.after_state = [&](std::int16_t state) {
    if (state != icReceivingResponse) return;
    // By then the control reports the next byte.
    loop.StartOneShot(this, std::chrono::milliseconds(60), [&] {
      clock.ahead += std::chrono::seconds(13);
      server.Release();
    });
  };
  Search(server.Url());
  EXPECT_TRUE(toolkit_.messages.empty());
  EXPECT_GE(clock.ahead, std::chrono::minutes(4));
  EXPECT_EQ(program_.dialog.UpdateNames, (std::vector<std::string>{"", "Old"}));
  EXPECT_TRUE(program_.dialog.controls.picStep200.Visible());
  EXPECT_EQ(program_.dialog.CheckedOn, 0);

  // A search gives up, and what it asked for comes all the same.
  server.Expect(Raw(kOk + "\r\n").Stall().Send(kOffer));
  transfer_.after_state = [&](std::int16_t state) {
    if (state == icReceivingResponse) loop.Post([this] { clock.ahead += std::chrono::seconds(16); });
  };
  Search(server.Url());
  EXPECT_EQ(toolkit_.messages.size(), 1u);
  EXPECT_EQ(folder_.Read(kFile), kLeftOver);
  transfer_.after_state = nullptr;
  server.Release();
  EXPECT_TRUE(RunUntil([this] { return transfer_.states.back() == icResponseCompleted; }));
  EXPECT_EQ(folder_.Read(kFile), kOffer);
  EXPECT_TRUE(Log().ends_with("StateChanged: Closing file\nDocumentReceived = 1\n"));

  server.Expect(Reply(kOffer));
  Search(server.Url());
  EXPECT_EQ(program_.dialog.UpdateNames, (std::vector<std::string>{"", "A"}));
}

}  // namespace
}  // namespace tsly
