#include <gtest/gtest.h>

#include "install/size_text.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

TEST(SizeText, UnitsAndRounding) {
  using enum SizeUnit;
  const std::tuple<double, const char*, SizeUnit> rows[] = {
      {0,               "0",    Bytes},
      {1023,            "1023", Bytes},
      {1024,            "1",    KB   },
      {1536,            "1.5",  KB   },
      {10239,           "10",   KB   },
      {1048575,         "1024", KB   },
      {1048576,         "1",    MB   },
      {2.125 * 1024,    "2.12", KB   }, // half to even
      {10.25 * 1024,    "10.2", KB   },
      {1073741824,      "1",    GB   },
      {1099511627776.0, "1024", GB   },
      {0.5,             ".5",   Bytes},
  };
  for (const auto& [bytes, value, unit] : rows) {
    EXPECT_EQ(FormatSize(bytes).value, value) << bytes;
    EXPECT_EQ(FormatSize(bytes).unit, unit) << bytes;
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

TEST_F(FeedbackTest, DotsBelongToTheirLine) {
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

TEST_F(FeedbackTest, OnlySlowStepsHaveDotsAndAllButDownloadsAreLogged) {
  for (std::int32_t state = fbBegin; state <= fbFinished; ++state) {
    const bool slow = state == fbDownload || state == fbVerifying || state == fbUnzipping || state == fbExecuting ||
                      state == fbUnregistering || state == fbRegistering;
    Say(fbBegin);
    Say(fbDownload, {"Pack", "1"});
    if (state == fbPrintDot || state == fbBegin) continue;  // a manual dot changes nothing; a run starts without dots
    const std::string log = app.Log();
    Say(state, {"Pack", "1"});
    EXPECT_EQ(app.Log() != log, state != fbDownload) << state << ": a log line";
    Dots(3);
    EXPECT_EQ(Lines().ends_with("..."), slow) << state;
  }
}

TEST_F(FeedbackTest, FailuresShowTheirReasonAndMissingValuesKeepTheirPlaceholders) {
  const std::pair<std::vector<std::string>, std::string> rows[] = {
      {{"folder", "{x}"},                  "<{x}>"                            },
      {{"launch", "a.exe", "5", "denied"}, "a.exe/5/denied"                   },
      {{"launch", "a.exe"},                "a.exe/[ERROR-NUMBER]/[ERROR-TEXT]"},
  };
  Say(fbBegin);
  for (const auto& [information, error] : rows) {
    Say(fbExecuteFailed, information);
    EXPECT_TRUE(Lines().ends_with("\nFailed: " + error + ", " + error)) << Lines();
  }
}

TEST_F(FeedbackTest, UnexpectedCallsAreHarmless) {
  Say(fbInstalled);  // before any run
  EXPECT_EQ(Lines(), "Installed");
  Say(fbBegin);
  EXPECT_EQ(Lines(), "Begin");
  Say(17);
  Say(-1);
  EXPECT_EQ(Lines(), "Begin");
  Say(fbDownload, {"Pack", "much"});
  EXPECT_EQ(Lines(), "Begin\nPack 0 bytes ");
  Say(fbDownloadFailed);  // no language file has its text
  EXPECT_EQ(Lines(), "Begin\nPack 0 bytes\n");
  Say(fbFinished, {""});
  EXPECT_EQ(Lines(), "Begin\nPack 0 bytes\n\n");
  Say(fbBegin);
  EXPECT_EQ(Lines(), "Begin") << "a new run removes the lines of the former one";
}

}  // namespace
}  // namespace tsly
