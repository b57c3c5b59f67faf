#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <utility>

#include "base/text.h"
#include "common/command_line.h"
#include "posix/paths.h"
#include "posix/posix_shell.h"
#include "support/ordinary_user.h"
#include "support/recording_shell.h"
#include "support/scoped_environment.h"
#include "support/temp_folder.h"

namespace tsly {
namespace {

TEST(CommandLine, IsSplitLikeOnWindows) {
  // The text and its arguments.
  for (const char* row :
       {"|", " \t |", R"(/s "\opt\a b.dll"|[/s][\opt\a b.dll])", "a\tb  c |[a][b][c]", R"("" x|[][x])",
        R"(a"b c"d|[ab cd])", R"(a\\b \\|[a\\b][\\])", R"(a\"b|[a"b])", R"("a\\" b|[a\][b])", R"("a\\\" b"|[a\" b])",
        R"("a""b c"|[a"b][c])", R"("""a b"""|["a][b"])", R"("open end |[open end ])"}) {
    std::string joined;
    for (const std::string& argument : SplitArguments(Split(row, "|")[0])) joined += '[' + argument + ']';
    EXPECT_EQ(joined, Split(row, "|")[1]) << row;
  }
}

class PosixShellTest : public testing::Test {
 protected:
  PosixShellTest() {
    chmod(home_.NativePath().c_str(), 0755);
    for (const char* pipe : {"output", "asked"}) {
      mkfifo(home_.NativePath(pipe).c_str(), 0666);
      chmod(home_.NativePath(pipe).c_str(), 0666);
    }
    Script("program", "printf '[%s]' \"$@\" > output");
  }

  // A program that runs `work`, with the pipes "output" and "asked".
  std::string Script(const std::string& name, std::string work) const {
    for (const std::string pipe : {"output", "asked"}) {
      work = Replace(work, pipe, "'" + home_.NativePath(pipe).string() + "'");
    }
    return File(name, "#!/bin/sh\n" + work, 0755);
  }
  std::string File(const std::string& name, const std::string& contents, mode_t mode) const {
    const std::string path = home_.Write(name, contents);
    chmod(home_.NativePath(name).c_str(), mode);
    return path;
  }
  // Waits for the program's output, so that nothing depends on time.
  std::string Output() const { return home_.Read("output"); }

  std::uint32_t Start(const std::string& file, const std::string& parameters = "") {
    EXPECT_FALSE(shell_.StartElevated(file, parameters, 1));
    return shell_.LastError();
  }

  TempFolder home_;
  const std::string former_path_ = std::getenv("PATH");
  const ScopedEnvironment path_{"PATH", former_path_}, runas_{"TSLY_RUNAS", ""};
  PosixShell shell_;
};

TEST_F(PosixShellTest, StartsAProgramWithItsArguments) {
  home_.Write("Data/x.dll", "");
  EXPECT_EQ(Start(home_.CorePath("PROGRAM"), "/s \"a b\" '$HOME' \"" + home_.CorePath("data/X.DLL") + "\""), 0U);
  EXPECT_EQ(Output(), "[/s][a b]['$HOME'][" + home_.NativePath("Data/x.dll").string() + "]");

  Script("wrapper", "exec \"$@\" wrapped");
  setenv("PATH", (home_.NativePath().string() + ":" + former_path_).c_str(), 1);
  setenv("TSLY_RUNAS", " wrapper  env ", 1);
  EXPECT_EQ(Start("program", "x"), 0U);
  EXPECT_EQ(Output(), "[x][wrapped]");
}

TEST_F(PosixShellTest, AProgramInheritsOnlyEnvironmentAndStandardError) {
  Script("look",
         "( cut -d' ' -f6 /proc/$$/stat; echo $$; grep -E '^Sig(Ign|Blk)' /proc/$$/status\n"
         "readlink /proc/$$/fd/0 /proc/$$/fd/1; ls /proc/$$/fd | grep -x 77; pwd ) > output");
  const auto start = [this] {
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, nullptr);
    signal(SIGUSR1, SIG_IGN);
    return dup2(0, 77) == 77 ? static_cast<int>(Start(home_.CorePath("look"))) : -1;
  };
  EXPECT_EQ(AsOrdinaryUser(start), 0);
  std::istringstream output(Output());
  std::string session, id, rest;
  std::getline(std::getline(std::getline(output, session), id), rest, '\0');
  EXPECT_EQ(session, id);
  EXPECT_EQ(rest, "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n/dev/null\n/dev/null\n" +
                      std::filesystem::current_path().string() + "\n");
}

TEST_F(PosixShellTest, AFailedForkIsAFault) {
  const auto start = [&] {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_NPROC, &none);
    const Fault fault = shell_.StartElevated(home_.CorePath("program"), "x", 1);
    return fault.number * 10 + static_cast<int>(shell_.LastError());
  };
  EXPECT_EQ(AsOrdinaryUser(start), 78);
}

TEST_F(PosixShellTest, ReportsAFailedStartWithoutStandardDescriptors) {
  File("broken", "#!/no/such/interpreter\n", 0755);
  for (const auto& [name, code] : {
           std::pair("program", 0), {"broken", 2}
  }) {
    const auto start = [&] {
      for (const int standard : {0, 1}) close(standard);
      return static_cast<int>(Start(home_.CorePath(name), "x"));
    };
    EXPECT_EQ(AsOrdinaryUser(start), code);
    EXPECT_EQ(code == 0 ? Output() : "[x]", "[x]");
  }
}

TEST_F(PosixShellTest, ProgramsThatCantBeStarted) {
  File("text", "echo no program", 0755);
  File("broken", "\177ELF and nothing more", 0755);
  File("idle", "#!/bin/sh\n", 0644);
  const std::filesystem::path former = std::filesystem::current_path();
  std::filesystem::current_path(home_.NativePath());
  setenv("PATH", ("::.:" + former_path_).c_str(), 1);  // only the working folder has a "program"
  const std::pair<std::uint32_t, std::vector<std::string>> rows[] = {
      {2,   {home_.NativePath("missing").string(), home_.CorePath("no\\such"), "f:\\program", "REGSVR32.EXE", ""}},
      {2,   {"program"}                                                                                          },
      {5,   {home_.CorePath("idle"), home_.CorePath()}                                                           },
      {193, {home_.CorePath("text"), home_.CorePath("broken")}                                                   },
  };
  for (const auto& [code, files] : rows) {
    for (const std::string& file : files) EXPECT_EQ(Start(file), code) << file;
  }
  std::filesystem::current_path(former);
}

// The fake of pkexec waits until a repaint lets it continue, as for the user's answer.
TEST_F(PosixShellTest, RepaintsWhileItWaitsForTheUsersAnswer) {
  const std::pair<std::string, int> rows[] = {
      {"exit 126",              223},
      {"exit 127",              5  },
      {"exec \"$@\"",           0  },
      {"exec sh -c 'exit 126'", 0  },
  };
  for (const auto& [answer, code] : rows) {
    Script("raise", "read x < asked\n" + answer);
    const auto start = [this] {
      unsetenv("TSLY_RUNAS");
      bool has_answered = false;
      const auto answer_once = [&] {
        if (!std::exchange(has_answered, true)) std::ofstream(home_.NativePath("asked")) << "go\n";
      };
      PosixShell shell({.repaint = answer_once, .elevation_helper = home_.NativePath("raise").string()});
      const Fault fault = shell.StartElevated(home_.CorePath("program"), "x", 1);
      return fault || !has_answered ? 98 : static_cast<int>(shell.LastError() % 1000);
    };
    EXPECT_EQ(AsOrdinaryUser(start), code) << answer;
    EXPECT_EQ(answer == rows[2].first ? Output() : "[x]", "[x]");
  }
}

TEST_F(PosixShellTest, OpensOnlyWebAddresses) {
  Script("bin/xdg-open", "printf '[%s]' \"$@\" > output");
  setenv("PATH", home_.NativePath("bin").c_str(), 1);
  for (const std::string url : {"http://a.example/?q=$(id)&b c", "HTTPS://a.example", "mailto:a@b.example"}) {
    shell_.OpenAddress(url);
    EXPECT_EQ(shell_.LastError(), 0U);
    EXPECT_EQ(Output(), "[" + url + "]");
  }
  const int quiet = open(home_.NativePath("output").c_str(), O_RDONLY | O_NONBLOCK);
  for (const std::string url : {"", "file:///etc/passwd", "/bin/sh", "httpx://a", "http", "--help", "javascript:1"}) {
    shell_.OpenAddress(url);
    EXPECT_NE(shell_.LastError(), 0U) << url;
  }
  char byte = 0;
  EXPECT_EQ(read(quiet, &byte, 1), 0);
  close(quiet);
}

// Starts a display if there is none. Its server ends with the last client.
std::shared_ptr<FILE> StartDisplay() {
  if (std::getenv("DISPLAY") != nullptr) return nullptr;
  FILE* const server = popen("exec Xvfb -displayfd 1 -nolisten tcp -terminate", "r");
  int number = -1;
  if (fscanf(server, "%d", &number) == 1) setenv("DISPLAY", (":" + std::to_string(number)).c_str(), 1);
  const auto end = [](FILE* output) {
    unsetenv("DISPLAY");
    pclose(output);
  };
  return {server, end};
}

xcb_atom_t Atom(xcb_connection_t* display, const std::string& name) {
  const auto asked = xcb_intern_atom(display, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
  const std::shared_ptr<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(display, asked, nullptr), std::free);
  return reply ? reply->atom : 0;
}

TEST(PosixShellWindows, AsksAWindowToCloseAndWaits) {
  const std::shared_ptr<FILE> server = StartDisplay();
  xcb_connection_t* display = xcb_connect(nullptr, nullptr);
  ASSERT_EQ(xcb_connection_has_error(display), 0) << "this test needs Xvfb or a display";
  const xcb_window_t window = xcb_generate_id(display);
  xcb_create_window(display, XCB_COPY_FROM_PARENT, window, xcb_setup_roots_iterator(xcb_get_setup(display)).data->root,
                    0, 0, 9, 9, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
  const xcb_atom_t protocols = Atom(display, "WM_PROTOCOLS");
  const xcb_atom_t wish = Atom(display, "WM_DELETE_WINDOW");

  // The host application closes at the second repaint after the request.
  int repaints = 0, wishes = 0;
  bool grants = false;
  const auto repaint = [&] {
    ++repaints;
    while (auto* event = xcb_poll_for_event(display)) {
      const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(*event);
      wishes += (event->response_type & 0x7f) == XCB_CLIENT_MESSAGE && message.type == protocols &&
                message.data.data32[0] == wish;
      std::free(event);
    }
    if (grants && wishes > 0 && repaints > 2) xcb_destroy_window(display, window);
    xcb_flush(display);
  };
  PosixShell shell({.repaint = repaint, .longest_close = std::chrono::milliseconds(300)});
  const auto close_window = [&](xcb_window_t which) {
    repaints = wishes = 0;
    shell.CloseWindow(static_cast<std::int32_t>(which));
    return shell.LastError();
  };

  EXPECT_EQ(close_window(window), 0U);
  EXPECT_EQ(repaints, 0) << "a window that doesn't support closing is left open";
  xcb_change_property(display, XCB_PROP_MODE_REPLACE, window, protocols, XCB_ATOM_ATOM, 32, 1, &wish);
  Atom(display, "WM_PROTOCOLS");  // the server has processed everything before this reply
  const std::clock_t busy = std::clock();
  EXPECT_EQ(close_window(window), 0U);
  EXPECT_EQ(wishes, 1);
  EXPECT_GT(repaints, 1) << "waits the full time for a window that stays";
  EXPECT_LT(std::clock() - busy, CLOCKS_PER_SEC / 10) << "awaiting it takes no processor";
  grants = true;
  EXPECT_EQ(close_window(window), 0U);
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
