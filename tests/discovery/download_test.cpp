#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "base/text.h"
#include "discovery/updates_file.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

const std::string kOnePack =
    "[Versions]\r\nA=1\r\n[A]\r\nInstall pack=yes\r\nDownload URL=http://maker/a.zip\r\nSize=9\r\nCRC32=cbf43926\r\n";

TEST(Download, TheLogHasEveryStep) {
  StartedApp app("/showupdates", {Received("")}, {kAnswerOk});
  EXPECT_EQ(app.Log(),
            "GetDocument: Starting download: GET http://updates.quillonsystems.example/download/app-updates.txt\n"
            "StateChanged: State = Resolving host\nStateChanged: State = Host resolved\n"
            "StateChanged: State = Connecting\nStateChanged: State = Connected\n"
            "StateChanged: State = Requesting\nStateChanged: State = Request sent\n"
            "StateChanged: State = Disconnecting\nStateChanged: State = Disconnected\n"
            "StateChanged: State = Response completed\n"
            "StateChanged: Opening temp file \"" +
                app.ProductFolder() +
                "updates.ini\"\nStateChanged: Writing text file\nStateChanged: Closing file\nDocumentReceived = 1\n"
                "GetDocument: Exiting wait loop, DocumentReceived=1, DocumentTimeout=False\n"
                "GetDocument: Exiting, returning True\n");
  EXPECT_EQ(app.transfer.request_timeout, 60);
  EXPECT_EQ(app.transfer.protocol, icHTTP);
  EXPECT_EQ(app.transfer.spool_folder, app.ProductFolder());
}

TEST(Download, EachResultHasItsMessageAndNumber) {
  Answer late_code = Silent(1);
  late_code.code = 12152;
  late_code.info = "Odd answer.";
  // The end of the message ("": nothing new) and a log line.
  const std::tuple<Answer, std::string, const char*> rows[] = {
      {Failed(12029,     "No connection."),            "Error 1/12029: No connection.",
       "StateChanged: Error [12029] No connection.\n"                                                                                         },
      {Failed(12007,     "No such name."),             "",                                        "GetDocument: Exiting, returning True\n"    },
      {Silent(1,         2),                           "Error 3/10012: Timeout",                  "DocumentReceived=0, DocumentTimeout=True\n"},
      {late_code,        "Error 2/12152: Odd answer.", "GetDocument: Exiting, returning False\n"},
      {FaultAtOnce(12005, "Bad address."),     "Error 3/10012: Timeout", "GetDocument: Error 2EE5: Bad address.\n"                                            },
  };
  for (const auto& [answer, end, log_line] : rows) {
    StartedApp app("/showupdates", {answer}, {kAnswerOk});
    ASSERT_EQ(app.toolkit.messages.size(), 1u);
    const auto& [prompt, style] = app.toolkit.messages[0];
    EXPECT_EQ(style, end.empty() ? 64 : 48);
    EXPECT_TRUE(prompt.ends_with(end)) << prompt;
    EXPECT_EQ(prompt.starts_with("The list of updates couldn't be fetched."), !end.empty());
    EXPECT_NE(app.Log().find(log_line), std::string::npos) << app.Log();
    EXPECT_EQ(app.dialog().CheckedOn != 0, end.empty());
    EXPECT_EQ(app.transfer.cancelled, app.Log().find("StateChanged: Error") != std::string::npos);
  }
}

TEST(Download, AFormerUpdatesFileIsNotOfferedAfterAFailedDownload) {
  const Answer no_name = Failed(kNameNotResolved, "No such name."), list = Received("[Versions]\r\nB=1\r\n");
  const std::tuple<Answer, FileCall, bool> rows[] = {
      {no_name, FileCall::kCopy,   false},
      {no_name, FileCall::kDelete, true },
      {list,    FileCall::kCreate, true },
      {list,    FileCall::kWrite,  true },
      {list,    FileCall::kCommit, true },
  };
  for (const auto& [answer, refused, stays] : rows) {
    HeadlessApp app("/showupdates");
    app.folder.Write("AppData\\Quillon Systems\\Tessaly Studio\\updates.ini", kOnePack);
    app.files.failures.push_back({refused, 0, 5});
    if (stays) app.files.failures.push_back({FileCall::kDelete, 0, 5});
    app.StartWith({answer}, {kAnswerOk});
    EXPECT_EQ(app.toolkit.messages.at(0).style, kIconInformation);
    EXPECT_FALSE(app.controls().picStep200.Visible());
  }
}

TEST(Download, AnEndedTransferKeepsItsResult) {
  StartedApp app("/showupdates", {Received(kOnePack), Failed(12030, "Cut off.")});
  app.transfer.Deliver(icError);
  EXPECT_TRUE(app.Log().ends_with("DocumentReceived = 1\n")) << "received stays received";
  app.controls().UpdateItem(1).UpdateElementUrl = "http://maker/packs/";
  app.toolkit.answers = {kAnswerOk};
  app.Click(app.controls().cmdInstall);
  ASSERT_EQ(app.toolkit.messages.size(), 1u);
  EXPECT_TRUE(app.toolkit.messages[0].prompt.starts_with("The update couldn't be downloaded."));
  EXPECT_EQ(app.toolkit.messages[0].style, 48) << "the pack wasn't written";
  app.transfer.Deliver(icResponseCompleted);
  EXPECT_TRUE(app.Log().ends_with("StateChanged: Closing file\nDocumentReceived = 2\n")) << "failed stays failed";
  EXPECT_TRUE(app.folder.Has("AppData\\Quillon Systems\\Tessaly Studio\\tsl00000.zip")) << "written anyway";
  app.transfer.Deliver(icNone);
  EXPECT_TRUE(app.Log().ends_with("StateChanged: State = None\n"));
}

TEST(Download, APartlyReadUpdatesFileIsAFailedSearch) {
  for (const bool response : {true, false}) {  // or the stored file
    HeadlessApp app("/showupdates");
    if (response) {
      app.transfer.chunk_fault_after = 1;
    } else {
      app.files.failures.push_back({FileCall::kRead, 0, 30});
    }
    app.StartWith({Received(kOnePack + std::string(5000, ';'))}, {kAnswerOk});
    const std::size_t size = app.folder.Read("AppData\\Quillon Systems\\Tessaly Studio\\updates.ini").size();
    EXPECT_EQ(size, response ? 1024u : kOnePack.size() + 5000) << "the written part stays";
    EXPECT_FALSE(app.controls().picStep200.Visible());
    EXPECT_EQ(app.toolkit.messages.at(0).style, kIconWarning);
    EXPECT_EQ(app.dialog().CheckedOn, 0);
  }
}

TEST(Download, TemporarilyUnreadableSettingsAreAFailedSearch) {
  // The address, the first recorded version, or the second one, after a module that is newer.
  for (const auto& [requests, reads] : {
           std::pair(0u, 0), {1u, 0},
             {1u, 1}
  }) {
    HeadlessApp app("/showupdates");
    int opened = 0;
    app.registry.before_call = [&, requests = requests, reads = reads](const std::string& operation) {
      const bool is_time = app.dialog().Loaded() && app.transfer.requests.size() >= requests;
      app.registry.locked = is_time && opened >= reads ? 32 : 0;
      opened += is_time && operation == "Open";
    };
    app.StartWith({Received("[Versions]\r\nFirst=2.0\r\nSecond=2.0\r\n")}, {kAnswerOk});
    EXPECT_EQ(app.transfer.requests.size(), requests);
    EXPECT_EQ(app.dialog().UpdateNames.size(), 1u) << "a silent search would offer the others";
    EXPECT_FALSE(app.controls().picStep200.Visible());
    EXPECT_EQ(app.toolkit.messages.at(0).style, kIconWarning);
    EXPECT_EQ(app.dialog().CheckedOn, 0);
  }
}

TEST(Download, AnOfferUsesTheUpdatesFileThatThisProcessStored) {
  StartedApp app("/showupdates", {Received(kOnePack + "Action 1=unzip:{app}\r\n")});
  app.folder.Write("AppData\\Quillon Systems\\Tessaly Studio\\updates.ini", kOnePack);  // by another process
  app.dialog().ShowAvailableUpdates();
  EXPECT_EQ(app.controls().UpdateItem(1).UpdateElementAction(1), "unzip:{app}");

  app.transfer.answers = {Received("[Versions]\r\nB=1\r\n")};
  app.Run([&] { app.dialog().ShowTheResults(); });
  EXPECT_EQ(app.dialog().UpdateNames, (std::vector<std::string>{"", "B"})) << "nothing of the former search";
}

TEST(Download, TheDeadlineMovesWithEveryState) {
  StartedApp app;
  Answer slow = Silent(1, 2, 3, 4, 5, 6, 7, 7, 7);
  slow.step = std::chrono::seconds(15);
  app.transfer.answers = {slow};
  app.toolkit.answers = {kAnswerOk};
  const SteadyTime start = app.clock.Steady();
  app.loop.After(slow.step, [] {});  // wakes the wait just before the deadline and the first state
  app.Click(app.controls().lblInfo105);
  const auto waited = app.clock.Steady() - start;
  EXPECT_GT(waited, std::chrono::seconds(9 * 15 + 15));
  EXPECT_LT(waited, std::chrono::seconds(9 * 15 + 16));
}

TEST(Download, ALateDocumentIsStoredButNotShown) {
  StartedApp app;
  app.transfer.answers = {Silent(1)};
  app.toolkit.answers = {kAnswerOk};
  app.Click(app.controls().lblInfo105);
  EXPECT_EQ(app.toolkit.messages.size(), 1u);
  app.transfer.Continue(Received("late"));
  app.Pass(std::chrono::seconds(1));
  EXPECT_EQ(app.folder.Read("AppData\\Quillon Systems\\Tessaly Studio\\updates.ini"), "late");
  EXPECT_TRUE(app.Log().ends_with("StateChanged: Closing file\nDocumentReceived = 1\n"));
  EXPECT_EQ(app.controls().lblInfo105.Text(), "Look for updates now");
}

TEST(Download, StoresEveryByteInPlaceOfAnOlderFile) {
  for (const std::size_t length : {0u, 1u, 1023u, 1024u, 1025u, 5000u}) {
    StartedApp app;
    const std::string name = "AppData\\Quillon Systems\\Tessaly Studio\\updates.ini";
    app.folder.Write(name, std::string(9000, 'o'));
    std::string body(length, '\0');
    for (std::size_t i = 0; i < length; ++i) body[i] = static_cast<char>(i);
    app.transfer.answers = {Received(body)};
    app.toolkit.during_message = [&] { EXPECT_EQ(app.folder.Read(name), body) << length; };
    app.toolkit.answers = {kAnswerOk};
    app.Click(app.controls().lblInfo105);
  }
}

TEST(Download, AWriteErrorIsReportedByTheReader) {
  for (const FileCall call : {FileCall::kCreate, FileCall::kWrite, FileCall::kCommit}) {
    StartedApp app("/showupdates", {Received(kOnePack), Received("123456789")});
    app.files.failures.push_back({call, 0, 112});
    app.Click(app.controls().cmdInstall);
    EXPECT_FALSE(app.HasVersionValue("Version: A"));
    EXPECT_NE(app.controls().txtProcessing.Text().find("Checking the download: failed."), std::string::npos);
    EXPECT_TRUE(app.toolkit.messages.empty());
  }
}

TEST(Download, AnErrorAfterABrokenPackOffersTheHomePage) {
  for (const std::int32_t answer : {kAnswerYes, kAnswerNo}) {
    HeadlessApp app("/showupdates");
    Answer broken = Silent(1, 7);
    broken.body = std::string(3000, 'x');
    app.StartWith({Received(kOnePack), broken}, {answer});
    // The error arrives while the document is being stored.
    int chunks = 0;
    app.transfer.before_chunk = [&] {
      if (++chunks == 2) app.transfer.Deliver(icError);
    };
    app.loop.After(std::chrono::seconds(1), [&] { app.transfer.Deliver(icResponseCompleted); });
    app.Click(app.controls().cmdInstall);
    ASSERT_EQ(app.toolkit.messages.size(), 1u);
    EXPECT_EQ(app.toolkit.messages[0].style, 20);
    EXPECT_EQ(app.ended, answer == kAnswerYes);
    EXPECT_EQ(app.shell.opened_urls.size(), answer == kAnswerYes ? 1u : 0u);
    EXPECT_EQ(app.controls().cmdClose.Visible(), answer == kAnswerNo) << "the installation continues";
    EXPECT_FALSE(app.HasVersionValue(kValueCheckedEvery));
  }
}

TEST(Download, PacksStayInTheTemporaryFolder) {
  const std::string odd_ends[] = {"..",     ".",     "*", "*.*", "?query", "a*.zip?b=c", "%2e%2e%2fup.zip",      "a:b",
                                  "..\\up", "../up", "~", "-rf", "a b",    "\xFF",       std::string(10000, 'n')};
  for (const std::string& end : odd_ends) {
    SCOPED_TRACE(end.substr(0, 20));
    HeadlessApp app("/showupdates");
    app.folder.Write("AppData\\Quillon Systems\\up", "theirs");
    app.folder.Write("AppData\\Quillon Systems\\Tessaly Studio\\a1.zip", "theirs");
    app.StartWith({Received(Replace(kOnePack, "/a.zip", "/packs/" + end)), Received("123456789")});
    app.Click(app.controls().cmdInstall);
    app.Click(app.controls().cmdClose);
    EXPECT_FALSE(app.dialog().Loaded());
    std::set<std::string> left;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(app.folder.NativePath("AppData"))) {
      if (entry.is_regular_file()) left.insert(entry.path().filename());
    }
    EXPECT_EQ(left, (std::set<std::string>{"a1.zip", "tslyUpdater.log", "up"}));
    EXPECT_EQ(app.folder.Read("AppData\\Quillon Systems\\up"), "theirs");
  }
}

TEST(Download, TheNameComesFromTheAddress) {
  for (const char* row :
       {"http://maker/packs/a.zip|a.zip", "http:\\\\maker\\packs\\a.zip|a.zip", "http://maker/ a.zip |a.zip",
        "http://maker/a.zip?x=1|a.zip?x=1", "http://maker/|", "a.zip|"}) {
    EXPECT_EQ(FilenameOfUrl(Split(row, "|")[0]), Split(row, "|")[1]) << row;
  }
}

}  // namespace
}  // namespace tsly
