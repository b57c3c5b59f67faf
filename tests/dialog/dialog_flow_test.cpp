#include <gtest/gtest.h>

#include "base/date_time.h"
#include "base/text.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

const std::string kOffer = "[Versions]\r\nA=1\r\n[A]\r\nDownload URL=http://maker/a.zip\r\n";
const std::string kNothing = "[Versions]\r\nA=0\r\n";

TEST(DialogFlow, ShowsTheStoredFrequencyAndStoresItAtEveryUnload) {
  const std::pair<RegData, std::size_t> rows[] = {
      {RegData(),              3},
      {1,                      1},
      {7,                      3},
      {std::string("2 weeks"), 2},
      {std::string("abc"),     0},
      {std::string("-0.5"),    3},
      {-1,                     3},
  };
  for (const auto& [stored, frequency] : rows) {
    HeadlessApp app;
    app.SetVersionValue(kValueCheckedEvery, stored);
    app.Start();
    EXPECT_EQ(app.controls().lblInfo103.Text(), app.dialog().FrequencyTexts[frequency]);
    app.Click(app.controls().cmdOK);
    EXPECT_EQ(app.VersionValue(kValueCheckedEvery), std::to_string(frequency));
    EXPECT_FALSE(app.dialog().Loaded() || app.HasVersionValue(kValueCheckedOn)) << "no search, so no time of one";
  }
}

TEST(DialogFlow, ClicksStepThroughTheFrequencies) {
  StartedApp app;
  for (const char* tag : {"0", "1", "2", "3", "0"}) {
    app.Click(app.controls().lblInfo103);
    EXPECT_EQ(app.controls().lblInfo103.Tag(), tag);
  }
  for (const char* tag : {"7", "x", ""}) {
    app.controls().lblInfo103.SetTag(tag);
    app.Click(app.controls().lblInfo103);
    EXPECT_EQ(app.controls().lblInfo103.Tag(), "3");
  }
  EXPECT_FALSE(app.HasVersionValue(kValueCheckedEvery)) << "nothing is stored before the unload";
}

TEST(DialogFlow, ShowsTheLastCheckInTheUsersFormat) {
  const std::pair<RegData, const char*> rows[] = {
      {60060630,              "Last: 03.10.2014|10.03.2014|18h30"},
      {std::string("-1440"),  "Last: 12.29.1899|29.12.1899|00h00"},
      {std::string("1e300"),  "Last: 12.31.9999|31.12.9999|00h00"},
      {std::string("0"),      "Never"                            },
      {std::string("12 abc"), "Never"                            },
      {RegData(),             "Never"                            },
  };
  for (const auto& [stored, shown] : rows) {
    HeadlessApp app;
    app.folder.Write("app\\Languages\\English.ini", kLanguageHead +
                                                        "[Software updates]\r\nLast check, never=Never\r\n"
                                                        "Last check, done=Last: [MM/DD/YYYY]|[dd/mm/yyyy]|[HH:mm]\r\n");
    app.locale.date_separator = ".";
    app.locale.time_separator = "h";
    app.SetVersionValue(kValueCheckedOn, stored);
    app.Start();
    EXPECT_EQ(app.controls().lblInfo104.Text(), shown);
  }
}

TEST(DialogFlow, FitsTheWindowToItsPanelAndPlacesTheFrequencyAfterItsLeadIn) {
  for (const Twips twips : {15, 20}) {
    HeadlessApp app;
    app.toolkit.twips_per_pixel = twips;
    app.Start();
    const Rect inner{0, 0, app.dialog().InnerWidth(), app.dialog().InnerHeight()},
        panel = app.controls().picStep100.Look().rect;
    EXPECT_EQ(std::pair(inner.width, inner.height), std::pair(panel.width, panel.height));
    EXPECT_EQ(app.dialog().Outer().width, 7320 + HeadlessToolkit::kFrameWidth);
    const Label& lead_in = app.controls().lblInfo102;
    EXPECT_EQ(app.controls().lblInfo103.Left(), lead_in.Left() + lead_in.Width() + 5 * twips);
    EXPECT_LT(app.controls().txtFocus.Top(), 0);
  }
}

TEST(DialogFlow, AManualSearchWithNothingNewStoresItsTime) {
  StartedApp app;
  app.clock.now = MakeDateTime({.year = 2014, .month = 3, .day = 10, .hour = 18, .minute = 30});
  app.transfer.answers = {Received(kNothing)};
  app.toolkit.answers = {kAnswerOk};
  app.Click(app.controls().lblInfo105);
  EXPECT_EQ(app.toolkit.messages.size(), 1u);
  EXPECT_NE(app.controls().lblInfo104.Text().find("03/10/2014 18:30"), std::string::npos);
  app.Click(app.controls().cmdOK);
  EXPECT_EQ(app.VersionValue(kValueCheckedOn), "60060630");
}

TEST(DialogFlow, TheLinkShowsTheSearchAndPreventsASecondOne) {
  StartedApp app;
  const Label& link = app.controls().lblInfo105;
  const auto look = [&] {
    return std::tuple(link.Text(), link.MousePointer(), link.GetFont().underline, link.Look().fore_color == kLinkColor);
  };
  const auto& texts = app.dialog().CheckLinkTexts;
  const auto idle = std::tuple(texts[0], kPointerCustom, true, true);
  EXPECT_EQ(look(), idle);
  app.transfer.answers = {Silent(1, 2, 3, 4, 5, 6, 7)};
  app.transfer.answers[0].step = std::chrono::seconds(1);
  for (std::size_t i = 0; i < 8; ++i) {
    app.loop.After(std::chrono::milliseconds(500 + 1000 * i), [&, i] {
      // The first text is also shown before the first state.
      EXPECT_EQ(look(), std::tuple(texts[std::max<std::size_t>(i, 1)], kPointerHourglass, false, false));
      app.dialog().ShowTheResults();
    });
  }
  app.toolkit.answers = {kAnswerOk};
  app.Click(app.controls().lblInfo105);
  EXPECT_EQ(app.transfer.requests.size(), 1u);
  EXPECT_EQ(look(), idle);
  EXPECT_EQ(app.toolkit.screen_pointers, (std::vector<std::int32_t>{kPointerHourglass, kPointerDefault}));
}

TEST(DialogFlow, LeavingAnOfferKeepsTheCheckDue) {
  for (const bool by_button : {true, false}) {
    HeadlessApp app("/showupdates");
    app.SetVersionValue(kValueCheckedOn, std::string("60060630"));
    app.StartWith({Received(kOffer)});
    app.dialog().CheckedOn = 41000;
    by_button ? app.Click(app.controls().cmdLater) : app.CloseWindow();
    EXPECT_FALSE(app.dialog().Loaded());
    EXPECT_EQ(app.VersionValue(kValueCheckedOn), "60060630");
  }
}

TEST(DialogFlow, ClosingTheWindowEndsItsSearchButNotThatOfTheNextLoad) {
  for (const bool anew : {false, true}) {
    StartedApp app;
    app.transfer.answers = {Silent(1, 2, 3)};
    app.loop.After(std::chrono::seconds(2), [&] {
      app.dialog().Unload(Form::kUnloadByUser);
      if (anew) app.dialog().Show();
    });
    int stored_after_cancelling = 0;  // the response used disk space
    app.registry.before_call = [&](const std::string& call) {
      stored_after_cancelling += call == "Set" && app.transfer.cancelled == 1;
    };
    app.Click(app.controls().lblInfo105);
    EXPECT_EQ(app.dialog().Loaded() && app.dialog().Visible(), anew);
    EXPECT_TRUE(app.toolkit.messages.empty());
    EXPECT_EQ(app.transfer.cancelled, 1);
    EXPECT_EQ(stored_after_cancelling, 1);
    EXPECT_EQ(app.VersionValue(kValueCheckedEvery), "3") << "settings are stored";
    EXPECT_EQ(app.loop.RunningTimers(), 0u);
    if (!anew) continue;
    EXPECT_EQ(app.controls().lblInfo105.MousePointer(), kPointerCustom);
    EXPECT_EQ(app.controls().lblInfo105.Text(), app.dialog().CheckLinkTexts[0]);
  }
}

TEST(DialogFlow, ATemporarilyUnreadableSettingIsNotReplaced) {
  for (const bool chosen : {false, true}) {
    HeadlessApp app;
    app.SetVersionValue(kValueCheckedEvery, 0);
    app.program->registry.SetRegValue(kCurrentUser, SettingsKey, kValueLanguage, std::string("French"));
    app.registry.before_call = [&](const std::string& call) {
      app.registry.locked = call == "Create" || call == "Set" ? 0 : 32;
    };
    app.Start();
    EXPECT_EQ(app.controls().lblInfo103.Text(), app.dialog().FrequencyTexts[3]);
    for (int i = 0; chosen && i < 2; ++i) app.Click(app.controls().lblInfo103);
    app.Click(app.controls().cmdOK);
    app.registry.before_call = nullptr;
    app.registry.locked = 0;
    EXPECT_EQ(app.VersionValue(kValueCheckedEvery), chosen ? "1" : "0");
    const RegData language = app.program->registry.GetRegValue(kCurrentUser, SettingsKey, kValueLanguage, 0);
    EXPECT_EQ(language, RegData(std::string("French")));
  }
}

TEST(DialogFlow, EachControlHasItsOwnText) {
  StartedApp app;
  const VerifyControls& c = app.controls();
  const auto text = [&](const std::string& key) { return app.program->localization.GetResString(key); };
  EXPECT_EQ(app.dialog().Caption(), text("49:Window caption"));
  const Control* const controls[] = {&c.lblInfo100, &c.lblInfo101, &c.lblInfo102, &c.lblInfo105, &c.lblInfo200,
                                     &c.lblInfo201, &c.cmdLater,   &c.cmdInstall, &c.cmdOK,      &c.cmdClose};
  const char* const keys =
      "49:Title|49:Main Caption|49:Check Caption|49:Check Now|49:Title|49:Pending updates 1|49:Install later|"
      "49:Install now|01:OK|01:Close";
  for (std::size_t i = 0; const std::string& key : Split(keys, "|")) EXPECT_EQ(controls[i++]->Text(), text(key));
  std::vector<std::string> frequencies, states{text("49:Check Now")};
  for (const char* name : {"never", "always", "weekly", "monthly"}) {
    frequencies.push_back(text(std::string("49:Check frequency ") + name));
  }
  for (const auto& name :
       Split("resolving host,host resolved,connecting,connected,requesting,requested,receiving", ",")) {
    states.push_back(text("49:Status, " + name));
  }
  EXPECT_EQ(app.dialog().FrequencyTexts, frequencies);
  EXPECT_EQ(app.dialog().CheckLinkTexts, states);
}

TEST(DialogFlow, TheDialogHasItsDesignsColoursAndWidths) {
  StartedApp app;
  VerifyControls& c = app.controls();
  AvailableUpdate& item = c.UpdateItem(0);
  constexpr Color none{}, text{192, 192, 192}, link{192, 192, 255}, line{80, 80, 80};
  const std::tuple<const Control&, Twips, Color, Color> kDesign[] = {
      {c.picStep100,        7320, {64, 64, 64}, kWhite         },
      {c.picStep200,        7320, {64, 64, 64}, kWhite         },
      {c.picUpdates,        5790, {72, 72, 72}, kWhite         },
      {c.txtProcessing,     4110, {56, 56, 56}, {255, 255, 128}},
      {c.Shape1,            5820, none,         line           },
      {c.imgPicture100,     720,  none,         kWhite         },
      {c.lblInfo100,        5820, none,         kWhite         },
      {c.lblInfo104,        5820, none,         kWhite         },
      {c.vscUpdates,        285,  none,         kWhite         },
      {c.cmdOK,             1545, none,         kWhite         },
      {c.cmdInstall,        2355, none,         kWhite         },
      {item,                4875, {56, 56, 56}, kWhite         },
      {item.lblItem,        5280, none,         kWhite         },
      {item.lblExplanation, 5280, none,         text           },
      {item.lblVersion,     5280, none,         text           },
      {item.linBottom,      5625, none,         line           },
  };
  for (const auto& [control, width, back, fore] : kDesign) {
    EXPECT_EQ(control.Width(), width) << control.Name();
    EXPECT_EQ(control.Look().back_color, back) << control.Name();
    EXPECT_EQ(control.Look().fore_color, fore) << control.Name();
  }
  for (const Control* label : {&c.lblInfo103, &c.lblInfo105, &item.lblMoreInfo}) {
    EXPECT_EQ(label->Look().fore_color, link) << label->Name();
  }
}

// A process for clients, without an automation object.
class Client : public StatusReceiver {
 public:
  void SetStatus(std::int32_t value) override { status = value; }
  std::int32_t status = StatusPending;
};

TEST(DialogFlow, ABackgroundCheckReportsItsResult) {
  const std::string stop = kOffer + "Stop application=";
  // With the stored time; "": not stored.
  const std::tuple<Answer, std::int32_t, const char*, std::size_t> rows[] = {
      {Received(kNothing), StatusIdle,        "64800720",                 0          },
      {Silent(1),          StatusIdle,        "1440",                     0          },
      {Failed(12029,       "No connection."), StatusIdle,                 "1440",      1},
      {Received(kOffer),                  StatusPending,                    "",                0     },
      {Received(stop + "YES\r\n"),                  StatusStopRequired,          "", 0},
      {Received(stop + "ja\r\n"),                  StatusPending,           "",       0          },
  };
  for (const auto& [answer, status, checked_on, messages] : rows) {
    StartedApp app("", 1);
    app.transfer.answers = {answer};
    app.toolkit.answers.assign(messages, kAnswerOk);
    const auto client = std::make_shared<Client>();
    app.Run([&] {
      app.dialog().Load();
      app.dialog().UpdaterObject = client;
      app.dialog().PrepareVerifyVersion();
      app.dialog().CheckedOn = 1;  // as after a manual search
    });
    app.Pass(std::chrono::milliseconds(14999));
    EXPECT_TRUE(app.transfer.requests.empty());
    app.clock.now = 45000.5;
    app.Pass(std::chrono::seconds(40));
    EXPECT_EQ(client->status, status);
    const bool shown = status == StatusPending;
    EXPECT_EQ(app.dialog().Loaded(), shown);
    EXPECT_EQ(app.dialog().Visible(), shown);
    if (shown) {
      EXPECT_EQ(app.controls().lblInfo105.Text(), app.dialog().CheckLinkTexts[0]) << "no state is shown";
    }
    EXPECT_EQ(app.toolkit.topmost.size(), shown ? 1u : 0u) << "above all other windows for a client";
    EXPECT_FALSE(app.toolkit.took_keyboard) << "the user may type in another program";
    EXPECT_EQ(app.VersionValue(kValueCheckedOn), checked_on);
    EXPECT_EQ(app.toolkit.messages.size(), messages);
    EXPECT_EQ(app.transfer.requests.size(), 1u) << "one search per call";
  }
}

}  // namespace
}  // namespace tsly
