#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include "posix/command_line.h"
#include "posix/paths.h"
#include "posix/posix_shell.h"
#include "support/recording_shell.h"
#include "support/temporary_folder.h"

namespace tsly {
namespace {

TEST(CommandLine, IsSplitLikeOnWindows) {
  const auto split = [](const std::string& text) {
    std::string joined;
    for (const std::string& argument : SplitArguments(text)) joined += '[' + argument + ']';
    return joined;
  };
  const std::pair<std::string, std::string> rows[] = {
      {"",                      ""                    },
      {" \t ",                  ""                    },
      {"/s \"\\opt\\a b.dll\"", "[/s][\\opt\\a b.dll]"},
      {"a\tb  c ",              "[a][b][c]"           },
      {"\"\" x",                "[][x]"               },
      {"a\"b c\"d",             "[ab cd]"             },
      {"a\\\\b \\\\",           "[a\\\\b][\\\\]"      },
      {"a\\\"b",                "[a\"b]"              },
      {"\"a\\\\\" b",           "[a\\][b]"            },
      {"\"a\\\\\\\" b\"",       "[a\\\" b]"           },
      {"\"a\"\"b c\"",          "[a\"b][c]"           },
      {"\"\"\"a b\"\"\"",       "[\"a][b\"]"          },
      {"\"open end ",           "[open end ]"         },
  };
  for (const auto& [text, arguments] : rows) EXPECT_EQ(split(text), arguments) << text;
}

class PosixShellTest : public testing::Test {
 protected:
  PosixShellTest() {
    mkfifo((home_ / "told").c_str(), 0666);
    chmod((home_ / "told").c_str(), 0666);
    program_ = home_.Write("program", "#!/bin/sh\nprintf '[%s]' \"$@\" > " + Fifo(), 0755);
    setenv("TSLY_RUNAS", "", 1);
    former_path_ = std::getenv("PATH");
  }
  ~PosixShellTest() override {
    setenv("PATH", former_path_.c_str(), 1);
    unsetenv("TSLY_RUNAS");
  }

  std::string Fifo() const { return "'" + (home_ / "told").string() + "'"; }
  // Waits for a program to tell, so that nothing here depends on time.
  std::string Told() const { return TemporaryFolder::Read(home_ / "told"); }

  std::uint32_t Start(const std::string& file, const std::string& parameters = "") {
    EXPECT_FALSE(shell_.StartElevated(file, parameters, 1));
    return shell_.LastError();
  }

  TemporaryFolder home_;
  std::filesystem::path program_;
  std::string former_path_;
  PosixShell shell_;
};

TEST_F(PosixShellTest, StartsAProgramWithItsArguments) {
  home_.Write("Data/x.dll", "");
  EXPECT_EQ(Start(CorePath(home_ / "PROGRAM"), "/s \"a b\" '$HOME' \"" + CorePath(home_ / "data/X.DLL") + "\""), 0U);
  EXPECT_EQ(Told(), "[/s][a b]['$HOME'][" + (home_ / "Data/x.dll").string() + "]");

  home_.Write("wrapper", "#!/bin/sh\nexec \"$@\" wrapped", 0755);
  setenv("PATH", (home_.Path().string() + ":" + former_path_).c_str(), 1);
  setenv("TSLY_RUNAS", " wrapper  env ", 1);
  EXPECT_EQ(Start("program", "x"), 0U);
  EXPECT_EQ(Told(), "[x][wrapped]");
}

TEST_F(PosixShellTest, AProgramInheritsNothingButEnvironmentAndErrors) {
  home_.Write("look",
              "#!/bin/sh\n( cut -d' ' -f6 /proc/$$/stat; echo $$; grep -E '^Sig(Ign|Blk)' /proc/$$/status\n"
              "readlink /proc/$$/fd/0 /proc/$$/fd/1; ls /proc/$$/fd | grep -x 77; pwd ) > " +
                  Fifo(),
              0755);
  ASSERT_EQ(dup2(0, 77), 77);
  signal(SIGUSR1, SIG_IGN);
  sigset_t blocked, former;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  sigprocmask(SIG_BLOCK, &blocked, &former);
  EXPECT_EQ(Start((home_ / "look").string()), 0U);
  sigprocmask(SIG_SETMASK, &former, nullptr);
  signal(SIGUSR1, SIG_DFL);
  close(77);

  std::istringstream told(Told());
  std::string session, id, rest;
  std::getline(std::getline(std::getline(told, session), id), rest, '\0');
  EXPECT_EQ(session, id);
  EXPECT_EQ(rest, "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n/dev/null\n/dev/null\n" +
                      std::filesystem::current_path().string() + "\n");
}

TEST_F(PosixShellTest, ProgramsThatCantBeStarted) {
  home_.Write("text", "echo no program", 0755);
  home_.Write("broken",
              "\x7f"
              "ELF and nothing more",
              0755);
  home_.Write("idle", "#!/bin/sh\n", 0644);
  const std::filesystem::path former = std::filesystem::current_path();
  std::filesystem::current_path(home_.Path());
  setenv("PATH", ("::.:" + former_path_).c_str(), 1);
  const std::pair<std::string, std::uint32_t> rows[] = {
      {(home_ / "missing").string(), 2  },
      {CorePath(home_ / "no\\such"), 2  },
      {"f:\\program",                2  },
      {"program",                    2  }, // in the working folder alone
      {"REGSVR32.EXE",               2  },
      {"",                           2  },
      {CorePath(home_ / "idle"),     5  },
      {CorePath(home_.Path()),       5  },
      {CorePath(home_ / "text"),     193},
      {CorePath(home_ / "broken"),   193},
  };
  for (const auto& [file, code] : rows) EXPECT_EQ(Start(file), code) << file;
  std::filesystem::current_path(former);
}

// The stand-in for the program that raises rights waits until a repaint lets it go on, as for a user's answer.
TEST_F(PosixShellTest, WaitsForTheUsersAnswerRepainting) {
  const std::pair<std::string, int> rows[] = {
      {"exit 126",    223},
      {"exit 127",    5  },
      {"exec \"$@\"", 0  }
  };
  for (const auto& [answer, code] : rows) {
    mkfifo((home_ / "asked").c_str(), 0666);
    chmod((home_ / "asked").c_str(), 0666);
    const std::string raiser =
        home_.Write("raise", "#!/bin/sh\nread x < '" + (home_ / "asked").string() + "'\n" + answer, 0755);
    const pid_t child = fork();
    if (child == 0) {  // as a user who has to ask
      if (geteuid() == 0 && setuid(65534) != 0) _exit(99);
      unsetenv("TSLY_RUNAS");
      bool has_answered = false;
      PosixShell shell({.repaint =
                            [&] {
                              if (!has_answered) std::ofstream(home_ / "asked") << "go\n";
                              has_answered = true;
                            },
                        .raiser = raiser});
      const Fault fault = shell.StartElevated(program_, "x", 1);
      _exit(fault || !has_answered ? 98 : static_cast<int>(shell.LastError() % 1000));
    }
    if (code == 0) {
      EXPECT_EQ(Told(), "[x]");
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), code) << answer;
  }
}

TEST_F(PosixShellTest, OpensWebAddressesAlone) {
  home_.Write("bin/xdg-open", "#!/bin/sh\nprintf '[%s]' \"$@\" > " + Fifo(), 0755);
  setenv("PATH", (home_ / "bin").c_str(), 1);
  for (const std::string url : {"http://a.example/?q=$(id)&b c", "HTTPS://a.example", "mailto:a@b.example"}) {
    shell_.OpenAddress(url);
    EXPECT_EQ(shell_.LastError(), 0U);
    EXPECT_EQ(Told(), "[" + url + "]");
  }
  const int quiet = open((home_ / "told").c_str(), O_RDONLY | O_NONBLOCK);
  for (const std::string url : {"", "file:///etc/passwd", "/bin/sh", "httpx://a", "http", "--help", "javascript:1"}) {
    shell_.OpenAddress(url);
    EXPECT_NE(shell_.LastError(), 0U) << url;
  }
  char byte = 0;
  EXPECT_EQ(read(quiet, &byte, 1), 0);
  close(quiet);
}

// A display of the test's own where there is none.
class Display {
 public:
  Display() {
    if (std::getenv("DISPLAY") != nullptr) return;
    int ends[2];
    if (pipe(ends) != 0) return;
    server_ = fork();
    if (server_ == 0) {
      dup2(ends[1], 9);
      execlp("Xvfb", "Xvfb", "-displayfd", "9", "-nolisten", "tcp", nullptr);
      _exit(127);
    }
    close(ends[1]);
    char number[16] = ":";
    if (read(ends[0], number + 1, sizeof number - 2) > 1) setenv("DISPLAY", strtok(number, "\n"), 1);
    close(ends[0]);
  }
  ~Display() {
    if (server_ <= 0) return;
    unsetenv("DISPLAY");
    kill(server_, SIGTERM);
    waitpid(server_, nullptr, 0);
  }

 private:
  pid_t server_ = 0;
};

xcb_atom_t Atom(xcb_connection_t* display, const std::string& name) {
  const auto asked = xcb_intern_atom(display, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
  const std::unique_ptr<xcb_intern_atom_reply_t, void (*)(void*)> reply(xcb_intern_atom_reply(display, asked, nullptr),
                                                                        std::free);
  return reply ? reply->atom : 0;
}

TEST(PosixShellWindows, AskedToCloseAndAwaited) {
  const Display server;
  xcb_connection_t* display = xcb_connect(nullptr, nullptr);
  ASSERT_EQ(xcb_connection_has_error(display), 0) << "this test needs Xvfb or a display";
  const xcb_window_t window = xcb_generate_id(display);
  xcb_create_window(display, XCB_COPY_FROM_PARENT, window, xcb_setup_roots_iterator(xcb_get_setup(display)).data->root,
                    0, 0, 9, 9, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
  const xcb_atom_t protocols = Atom(display, "WM_PROTOCOLS");
  const xcb_atom_t wish = Atom(display, "WM_DELETE_WINDOW");

  // The host application: it grants the wish at the second repaint after it came.
  int repaints = 0, wishes = 0;
  bool grants = false;
  PosixShell shell({.repaint =
                        [&] {
                          ++repaints;
                          while (auto* event = xcb_poll_for_event(display)) {
                            const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(*event);
                            const bool is_wish =
                                (event->response_type & 0x7f) == XCB_CLIENT_MESSAGE && message.type == protocols;
                            wishes += is_wish && message.data.data32[0] == wish ? 1 : 0;
                            std::free(event);
                          }
                          if (grants && wishes > 0 && repaints > 2) xcb_destroy_window(display, window);
                          xcb_flush(display);
                        },
                    .longest_close = std::chrono::milliseconds(300)});
  const auto close_window = [&](xcb_window_t which) {
    repaints = wishes = 0;
    shell.CloseWindow(static_cast<std::int32_t>(which));
    return shell.LastError();
  };

  EXPECT_EQ(close_window(window), 0U);
  EXPECT_EQ(repaints, 0) << "a window that can't be asked is left alone";
  xcb_change_property(display, XCB_PROP_MODE_REPLACE, window, protocols, XCB_ATOM_ATOM, 32, 1, &wish);
  Atom(display, "WM_PROTOCOLS");  // the server has dealt with all before this answer
  EXPECT_EQ(close_window(window), 0U);
  EXPECT_EQ(wishes, 1);
  EXPECT_GT(repaints, 3) << "a window that stays is awaited to the end";
  grants = true;
  EXPECT_EQ(close_window(window), 0U);
  EXPECT_EQ(wishes, 1);
  EXPECT_EQ(repaints, 3);
  EXPECT_EQ(close_window(window), 1400U);
  xcb_disconnect(display);
  setenv("DISPLAY", ":4077", 1);
  EXPECT_EQ(close_window(window), 1400U);
}

TEST(ShellContract, EndsTheProcess) {
  EXPECT_EXIT(PosixShell().EndProcess(), testing::ExitedWithCode(0), "");
  EXPECT_THROW(RecordingShell().EndProcess(), ProcessEnded);
}

}  // namespace
}  // namespace tsly
