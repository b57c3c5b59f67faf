#include <gtest/gtest.h>

#include "base/text.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

std::string Modules(int count, const std::string& summary = "Short.") {
  std::string versions = "[Versions]\r\n";
  std::string texts = "[Localization - English]\r\n";
  for (int i = 1; i <= count; ++i) {
    const std::string name = "M" + std::to_string(i);
    versions += name + "=1.0\r\n";
    texts += name + ":Description=Title " + name + "\r\n" + name + ":Summary=" + summary + "\r\n";
  }
  return versions + texts;
}

TEST(Presentation, TheListMakesRoomForItsScrollBar) {
  const char* const line = "Short.";
  // 57 characters: one line at 5295 twips, two at 5010.
  const char* const longer = "Twelve words of a summary that is just as long as a line..";
  // Number and text of the items; whether there is a scroll bar, and its maximum; width, and heights of the first items
  // and the last.
  const std::tuple<int, const char*, bool, std::int16_t, Twips, Twips, Twips> rows[] = {
      {1,  line,   false, 0,     5790, 1005, 1005},
      {2,  line,   false, 0,     5790, 1050, 1005},
      {3,  line,   true,  960,   5505, 1050, 1005},
      {30, line,   true,  29310, 5505, 1050, 1005},
      {40, line,   true,  32505, 5505, 1050, 1005}, // beyond 16 bits the last valid number stays
      {3,  longer, true,  1545,  5505, 1245, 1200},
  };
  for (const auto& [count, summary, bar, maximum, width, first, last] : rows) {
    StartedApp app("/showupdates", {Received(Modules(count, summary))});
    VerifyControls& c = app.controls();
    EXPECT_EQ(c.vscUpdates.Visible(), bar) << count;
    EXPECT_EQ(c.vscUpdates.Max(), maximum) << count;
    Twips top = 0;
    for (int i = 1; i <= count; ++i) {
      const AvailableUpdate& item = c.UpdateItem(i);
      EXPECT_EQ(item.Look().rect, (Rect{0, top, width, i == count ? last : first})) << i;
      EXPECT_EQ(item.linBottom.Visible(), i != count);
      EXPECT_TRUE(item.Visible());
      top += item.Height();
    }
    EXPECT_EQ(c.lblInfo201.Text().starts_with("An update"), count == 1);
    EXPECT_FALSE(c.UpdateItem(0).Visible());
  }
}

TEST(Presentation, AMissingDefaultLosesNoValue) {
  HeadlessApp app("/showupdates");
  app.folder.Write("app\\Languages\\English.ini",
                   kLanguageHead + "[Software updates]\r\nVersion information=[VERSION], [RELEASED]\r\n");
  app.StartWith({Received("[Versions]\r\nA=1.5\r\nB=2\r\nC=3\r\n[A]\r\nReleased=May\r\n[B]\r\nReleased=\r\n")});
  const char* const texts[] = {"1.5, May", "2, ", "3, [RELEASED]"};
  for (int i = 0; i < 3; ++i) EXPECT_EQ(app.controls().UpdateItem(i + 1).Version(), texts[i]);
  EXPECT_EQ(app.controls().UpdateItem(1).UpdateElementVersion, "1.5");
}

TEST(Presentation, TheListFollowsTheScrollBar) {
  StartedApp app("/showupdates", {Received(Modules(5))});
  VerifyControls& c = app.controls();
  const auto scroll = [&](UiEvent::Kind kind, std::int32_t value) {
    app.dialog().Deliver({.kind = kind, .control = c.vscUpdates.Id(), .value = value}, app.dialog().LoadNumber());
  };
  scroll(UiEvent::Kind::ThumbMoved, 100);
  EXPECT_EQ(c.UpdateItem(1).Top(), -100);
  scroll(UiEvent::Kind::ValueChanged, 1200);
  EXPECT_EQ(c.UpdateItem(1).Top(), -1200);
  EXPECT_EQ(c.UpdateItem(2).Top(), -150);
  scroll(UiEvent::Kind::ValueChanged, 99999);
  EXPECT_EQ(c.UpdateItem(1).Top(), -c.vscUpdates.Max()) << "no further than the end";
  const std::uint64_t requests = app.dialog().FocusRequests();
  scroll(UiEvent::Kind::GotFocus, 0);
  EXPECT_EQ(app.dialog().FocusRequests(), requests + 1);
  EXPECT_EQ(app.dialog().FocusRequest(), c.txtFocus.Id());
}

TEST(Presentation, ANewListReplacesTheFormerItems) {
  StartedApp app("/showupdates", {Received(Modules(2))});
  VerifyControls& c = app.controls();
  c.picUpdates.SetHeight(1050 + 1005);
  app.dialog().ShowAvailableUpdates();
  EXPECT_FALSE(c.vscUpdates.Visible()) << "exactly as high as the panel";
  c.picUpdates.SetHeight(1050 + 1004);
  app.dialog().ShowAvailableUpdates();
  EXPECT_TRUE(c.vscUpdates.Visible());
  EXPECT_EQ(c.vscUpdates.Max(), 1);
  EXPECT_EQ(c.vscUpdates.Look().small_change, 60);
  EXPECT_EQ(c.vscUpdates.Look().large_change, 2054);
  c.vscUpdates.SetValue(1);
  app.dialog().ShowAvailableUpdates();
  EXPECT_EQ(c.vscUpdates.Value(), 0);
  EXPECT_EQ(c.UpdateItem(1).Look().rect, (Rect{0, 0, 5505, 1050}));
  EXPECT_EQ(c.UpdateItem.Count(), 3u);
}

TEST(Presentation, FillsOneItemFromTheFile) {
  const std::string file =
      "[Versions]\r\nDesigner=7.0.1300.0\r\nBare=1\r\n"
      "[Localization - French]\r\nDesigner:Description=Mise a jour\r\nDesigner:Summary=\"   \"\r\n"
      "[Localization - English]\r\nDesigner:Description=Update\r\nDesigner:Summary= Corrects printing. \r\n"
      "Designer:More info=http://maker/info\r\n"
      "[Designer]\r\nInstall pack=yes\r\nDownload URL=http://maker/d.zip\r\nSize=1048576\r\nCRC32=0A1B2C3D\r\n"
      "Stop application=maybe\r\nReleased=12/2005\r\nAction 1=unzip:{app}\r\nAction 3=run:x\r\n";
  HeadlessApp app("/showupdates");
  app.folder.Write("app\\Languages\\French.ini", app.folder.Read("app\\Languages\\English.ini"));
  app.program->registry.SetRegValue(kCurrentUser, SettingsKey, kValueLanguage, std::string("French"));
  app.StartWith({Received(file)});
  const auto all = [&](int index) {
    const AvailableUpdate& i = app.controls().UpdateItem(index);
    std::string text = std::to_string(i.UpdateElementDocType) + (i.UpdateElementStopPgm ? "|stop" : "|");
    for (const std::string& part :
         {i.UpdateElementName, i.Item(), i.Explanation(), i.UpdateElementDesc, i.UpdateElementVersion,
          i.UpdateElementUrl, i.UpdateElementSize, i.UpdateElementCRC, i.UpdateElementAction(1),
          i.UpdateElementAction(2), i.UpdateElementAction(3), i.Version()}) {
      text += "|" + part;
    }
    return text;
  };
  EXPECT_EQ(all(1),
            "4|stop|Designer|Mise a jour|Corrects printing.|http://maker/info|7.0.1300.0|http://maker/d.zip|1048576|"
            "0A1B2C3D|unzip:{app}|||Version 7.0.1300.0, released 12/2005")
      << "lines after a gap aren't read";
  EXPECT_EQ(all(2), "3||Bare||||1||0|||||Version 1, released (no date given)");

  app.Click(app.controls().UpdateItem(1).lblMoreInfo);
  EXPECT_EQ(app.shell.opened_urls, std::vector<std::string>{"http://maker/info"});
}

TEST(Presentation, ExcludedModulesAreNotOffered) {
  HeadlessApp app("/showupdates");
  app.SetVersionValue("Version: Current", std::string("1.0"));
  app.StartWith(
      {Received("[Versions]\r\nA=1.0\r\nCurrent=1.0\r\nB=1.0\r\nC=1.0\r\n[Excludes]\r\nC=B,Current\r\nCurrent=A\r\n")});
  EXPECT_EQ(app.dialog().UpdateNames, (std::vector<std::string>{"", "A", "C"}));
  EXPECT_EQ(app.dialog().CheckedOn, 0);

  StartedApp nothing("/showupdates", {Received("[Versions]\r\nA=1.0\r\n[Excludes]\r\nA=A\r\n")}, {kAnswerOk});
  EXPECT_EQ(nothing.toolkit.messages.size(), 1u);
  EXPECT_NE(nothing.dialog().CheckedOn, 0);
}

TEST(Presentation, TheAddressOfTheUpdatesFile) {
  const std::string built_in = "http://updates.quillonsystems.example/download/app-updates.txt";
  for (const char* stored : {"", "   ", " http://maker/u.txt  "}) {
    HeadlessApp app("/showupdates");
    app.SetVersionValue(kValueVersionFileUrl, std::string(stored));
    app.StartWith({Received("")}, {kAnswerOk});
    EXPECT_EQ(app.transfer.requests, std::vector{Trim(stored).empty() ? built_in : "http://maker/u.txt"});
    EXPECT_EQ(app.dialog().UpdatesIniFile, app.ProductFolder() + "updates.ini");
  }
}

TEST(AvailableUpdateItem, ActionLines) {
  HeadlessApp app;
  AvailableUpdate& item = app.controls().UpdateItem(0);
  item.SetUpdateElementAction(5, "five");
  EXPECT_EQ(item.UpdateElementAction(3), "");
  EXPECT_EQ(item.UpdateElementAction(5), "five");
  EXPECT_EQ(item.UpdateElementAction(6), "");
  item.SetUpdateElementAction(0, "");
  EXPECT_EQ(item.UpdateElementAction(5), "");
  EXPECT_THROW(item.SetUpdateElementAction(-1, ""), RuntimeError);
  EXPECT_THROW(item.UpdateElementAction(-1), RuntimeError);
}

TEST(AvailableUpdateItem, LaysItselfOut) {
  HeadlessApp app;
  AvailableUpdate& item = app.controls().UpdateItem.Load(1);
  item.SetExplanation("One line.");
  item.SetMoreInfo("More");
  item.SetWidth(5790);
  const std::vector<Twips> tops{item.lblItem.Top(),     item.lblVersion.Top(), item.lblExplanation.Top(),
                                item.lblMoreInfo.Top(), item.linBottom.Top(),  item.Height()};
  EXPECT_EQ(tops, (std::vector<Twips>{90, 300, 510, 720, 1035, 1050}));
  EXPECT_EQ(item.lblItem.Width(), 5295);
  item.SetHeight(10);
  EXPECT_EQ(item.Height(), 1050) << "the height follows the texts";
  item.SetVersion("a version that is far longer than the line has room for, so that its end is not seen any more");
  EXPECT_EQ(item.Height(), 1050);
  item.SetExplanation(std::string(40, 'a') + " " + std::string(40, 'b'));
  EXPECT_EQ(item.Height(), 1050 + 195);
}

}  // namespace
}  // namespace tsly
