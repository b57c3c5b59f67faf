#include <gtest/gtest.h>

#include "install/size_text.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

TEST(SizeText, UnitsAndRounding) {
  const struct {
    double bytes;
    const char* value;
    SizeUnit unit;
  } kCases[] = {
      {0,               "0",    SizeUnit::Bytes},
      {1023,            "1023", SizeUnit::Bytes},
      {1024,            "1",    SizeUnit::KB   },
      {1536,            "1.5",  SizeUnit::KB   },
      {10239,           "10",   SizeUnit::KB   },
      {10300,           "10.1", SizeUnit::KB   },
      {1048575,         "1024", SizeUnit::KB   },
      {1048576,         "1",    SizeUnit::MB   },
      {2.125 * 1024,    "2.12", SizeUnit::KB   }, // half to even
      {10.25 * 1024,    "10.2", SizeUnit::KB   },
      {1073741824,      "1",    SizeUnit::GB   },
      {1099511627776.0, "1024", SizeUnit::GB   },
      {0.5,             ".5",   SizeUnit::Bytes},
  };
  for (const auto& row : kCases) {
    EXPECT_EQ(FormatSize(row.bytes).value, row.value) << row.bytes;
    EXPECT_EQ(FormatSize(row.bytes).unit, row.unit) << row.bytes;
  }
}

class FeedbackTest : public testing::Test {
 protected:
  FeedbackTest() {
    app.folder.Write(
        "app\\Languages\\English.ini",
        kLanguageHead +
            "[Software updates]\r\nUpdate begins=Begin\\n\\012\r\nUpdate download=[name] [SIZE-VALUE] [SIZE-UNIT]\r\n"
            "Update size bytes=bytes\r\nUpdate size KB=KB\r\nUpdate verifying=Verifying\r\n"
            "Update verification passed=\" ok\"\r\nUpdate unzipping=Unzipping\r\nUpdate installed=Installed\r\n"
            "Update invalid folder=<[FOLDER]>\r\nUpdate execution error=[FILENAME]/[ERROR-NUMBER]/[ERROR-TEXT]\r\n"
            "Update execution failed=Failed: [ERROR], [ERROR]\r\n");
    app.Start();
  }
  std::string Lines() {
    std::string text = app.controls().txtProcessing.Text();
    std::erase(text, '\r');
    return text;
  }
  void Say(std::int32_t state, const std::vector<std::string>& information = {}) {
    app.dialog().ProcessFeedback(state, information);
    EXPECT_EQ(app.controls().txtProcessing.Look().selection_start,
              static_cast<std::int32_t>(app.controls().txtProcessing.Text().size()));
  }
  void Dots(int seconds) { app.Pass(std::chrono::milliseconds(1000 * seconds + 100)); }

  HeadlessApp app;
};

TEST_F(FeedbackTest, DotsComeAndGoWithTheirLine) {
  Say(fbBegin, {""});
  EXPECT_EQ(Lines(), "Begin");
  EXPECT_EQ(app.controls().txtProcessing.Look().rect, app.controls().picUpdates.Look().rect);
  Say(fbDownload, {"Pack", "1536"});
  EXPECT_EQ(Lines(), "Begin\nPack 1.5 KB ");
  Dots(3);
  EXPECT_EQ(Lines(), "Begin\nPack 1.5 KB ...");
  Say(fbVerifying);
  EXPECT_EQ(Lines(), "Begin\nPack 1.5 KB\nVerifying ");
  Dots(2);
  EXPECT_EQ(Lines(), "Begin\nPack 1.5 KB\nVerifying ..");
  Say(fbVerifyResult, {"ok"});
  Dots(5);
  EXPECT_EQ(Lines(), "Begin\nPack 1.5 KB\nVerifying ok") << "no dots, no new line";
  Say(fbUnzipping);
  Dots(1);
  EXPECT_EQ(Lines(), "Begin\nPack 1.5 KB\nVerifying ok\nUnzipping.");
  Say(fbInstalled);
  Dots(2);
  Say(fbFinished, {"The end"});
  EXPECT_EQ(Lines(), "Begin\nPack 1.5 KB\nVerifying ok\nUnzipping\nInstalled\nThe end");
  EXPECT_EQ(app.Log(), "Begin\n\n\nVerifying\nVerifying ok\nUnzipping\nInstalled\nThe end\n");
}

TEST_F(FeedbackTest, SlowStepsHaveDotsAndOthersEndThemAndAllButDownloadsAreLogged) {
  for (std::int32_t state = fbBegin; state <= fbFinished; ++state) {
    const bool slow = state == fbDownload || state == fbVerifying || state == fbUnzipping || state == fbExecuting ||
                      state == fbUnregistering || state == fbRegistering;
    Say(fbBegin);
    Say(fbDownload, {"Pack", "1"});
    if (state == fbPrintDot || state == fbBegin) continue;  // a dot by hand changes nothing; a run begins without any
    const std::string log = app.Log();
    Say(state, {"Pack", "1"});
    EXPECT_EQ(app.Log() != log, state != fbDownload) << state << ": a line of the log";
    Dots(3);
    EXPECT_EQ(Lines().ends_with("..."), slow) << state;
  }
}

TEST_F(FeedbackTest, FailuresTellTheirReasonAndMissingValuesLeaveTheirPlaceholders) {
  Say(fbBegin);
  const struct {
    std::vector<std::string> information;
    const char* line;
  } kCases[] = {
      {{"folder", "{x}"},                  "Failed: <{x}>, <{x}>"                                                        },
      {{"launch", "a.exe", "5", "denied"}, "Failed: a.exe/5/denied, a.exe/5/denied"                                      },
      {{"launch", "a.exe"},                "Failed: a.exe/[ERROR-NUMBER]/[ERROR-TEXT], a.exe/[ERROR-NUMBER]/[ERROR-TEXT]"},
  };
  for (const auto& row : kCases) {
    Say(fbExecuteFailed, row.information);
    EXPECT_TRUE(Lines().ends_with(std::string("\n") + row.line)) << Lines();
  }
}

TEST_F(FeedbackTest, OddCallsDoNoHarm) {
  Say(fbInstalled);  // before any run
  EXPECT_EQ(Lines(), "Installed");
  Say(fbBegin);
  EXPECT_EQ(Lines(), "Begin");
  Say(17);
  Say(-1);
  EXPECT_EQ(Lines(), "Begin");
  Say(fbDownload, {"Pack", "much"});
  EXPECT_EQ(Lines(), "Begin\nPack 0 bytes ");
  Say(fbDownloadFailed);  // its text is in no language file
  EXPECT_EQ(Lines(), "Begin\nPack 0 bytes\n");
  Say(fbFinished, {""});
  EXPECT_EQ(Lines(), "Begin\nPack 0 bytes\n\n");
  Say(fbBegin);
  EXPECT_EQ(Lines(), "Begin") << "a new run drops the lines of the one before";
}

}  // namespace
}  // namespace tsly
