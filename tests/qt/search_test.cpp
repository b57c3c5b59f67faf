// Manual searches with the real transfer control on the real loop; only windows, registry and the pace of time are the
// tests'. Servers' behaviour: transfer_contract_test.cpp; the result of each end: download_test.cpp.
#include <gtest/gtest.h>

#include "posix/curl_transfer.h"
#include "qt/application_environment.h"
#include "support/headless_app.h"
#include "support/http_server.h"

namespace tsly {
namespace {

class SearchTest : public testing::Test, protected RunningLoop {
 protected:
  SearchTest() {
    CopyResources(folder);
    program.global.Main(program.dialog);
  }

  class Transfer final : public CurlTransfer {
   public:
    using CurlTransfer::CurlTransfer;
    std::function<void(std::int16_t)> after_state = [](std::int16_t) {};
    void SetStateChanged(std::function<void(std::int16_t)> handler) override {
      CurlTransfer::SetStateChanged([this, handler](std::int16_t state) {
        handler(state);
        after_state(state);
      });
    }
  };

  TempFolder folder;
  TestFolders folders{folder};
  SystemFiles files;
  IniReader profiles;
  MemoryRegistry registry;
  HeadlessToolkit toolkit;
  RecordingShell shell;
  RecordingUnzipFactory unzip;
  FixedLocale locale;
  LocalAutomation automation;
  Transfer transfer{loop, loop};
  Program program{
      Platform{registry, profiles, folders, files, clock, transfer, unzip, shell, locale, toolkit, loop, automation},
      0,
      ""
  };
  HttpServer server;
};

TEST_F(SearchTest, EndsWithTheTransferOrTheProgramsDeadline) {
  const std::string file = "AppData\\Quillon Systems\\Tessaly Studio\\updates.ini", nothing = "[Versions]\r\nA=0\r\n";
  const std::tuple<Script, std::string, std::string> rows[] = {
      {Reply(nothing),       nothing, program.localization.GetResString("49:No update available")},
      {ReplyWithLength("[V", 9),      "left over",                                                 "Error 1/12030: "},
      {Script().Receive().Stall(),                    "left over",  "Error 3/10012: Timeout"                              },
  };
  for (const auto& [script, stored, message] : rows) {
    SCOPED_TRACE(message);
    server.Expect(script);
    folder.Write(file, "left over");
    const bool is_silent = message.ends_with("Timeout");
    transfer.after_state = [&](std::int16_t state) {
      if (is_silent && state == icRequestSent) loop.Post([this] { clock.ahead += std::chrono::seconds(16); });
    };
    program.registry.SetRegSubkeyValue(kLocalMachine, SettingsKey, VersionSubkey, kValueVersionFileUrl, server.Url());
    toolkit.messages.clear();
    toolkit.answers = {kAnswerOk};
    program.dialog.ShowTheResults();
    ASSERT_EQ(toolkit.messages.size(), 1u);
    EXPECT_NE(toolkit.messages[0].prompt.find(message), std::string::npos) << toolkit.messages[0].prompt;
    EXPECT_EQ(folder.Read(file), stored);
    EXPECT_EQ(program.dialog.controls.lblInfo105.Text(), program.dialog.CheckLinkTexts[0]);
    EXPECT_EQ(toolkit.screen_pointers.back(), kPointerDefault);
  }
}

}  // namespace
}  // namespace tsly
