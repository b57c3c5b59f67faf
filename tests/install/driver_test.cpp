#include <gtest/gtest.h>

#include "support/headless_app.h"

namespace tsly {
namespace {

// CRC-32 of "123456789".
constexpr const char* kPack = "123456789";

std::string UpdatesFile() {
  return "[Versions]\r\nDesigner=7.0.1300.0\r\n"
         "[Localization - English]\r\nDesigner:Description=Designer update\r\nDesigner:Summary=Better printing.\r\n"
         "[Designer]\r\nInstall pack=yes\r\nDownload URL=http://maker/packs/designer.zip\r\nSize=9\r\n"
         "CRC32=cbf43926\r\nReleased=12/2026\r\nAction 1=unzip:{app}\r\n";
}

TEST(Driver, InstallsOneUpdateAndRecordsItsVersion) {
  HeadlessApp app("/showupdates");
  app.transfer.answers = {Received(UpdatesFile()), Received(kPack)};
  app.unzip.results = {0};
  app.Start();
  ASSERT_TRUE(app.controls().picStep200.Visible());
  app.Click(app.controls().cmdInstall);
  EXPECT_EQ(app.controls().txtProcessing.Text(), "");
  EXPECT_EQ(app.VersionValue("Version: Designer"), "7.0.1300.0");
  EXPECT_EQ(app.Log(), "");
  app.Click(app.controls().cmdClose);
  EXPECT_FALSE(app.dialog().Loaded());
}

}  // namespace
}  // namespace tsly
