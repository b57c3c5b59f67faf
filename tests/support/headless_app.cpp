#include "support/headless_app.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

namespace tsly {

void CopyResources(const TempFolder& folder) {
  std::filesystem::create_directories(folder.NativePath("app"));
  const std::filesystem::path resources = std::filesystem::path(TSLY_SOURCE_DIR) / "resources";
  for (const char* part : {"Languages", "Skins"}) {
    std::filesystem::copy(resources / part, folder.NativePath("app") / part, std::filesystem::copy_options::recursive);
  }
}

std::string LogLines(const std::string& file) {
  std::istringstream log(file);
  std::string lines;
  for (std::string line; std::getline(log, line);) {
    EXPECT_TRUE(line.ends_with('\r')) << line;
    // The following lines of a multi-line text have no stamp.
    const std::size_t stamp = line.size() > 21 && line[4] == '-' ? 21 : 0;
    lines += line.substr(stamp, line.size() - stamp - 1) + "\n";
  }
  return lines;
}

HeadlessApp::HeadlessApp(std::string command_line, std::int32_t start_mode)
    : folders(folder), files(real_files), loop(clock), transfer(loop) {
  CopyResources(folder);
  shell.at_end = [this] { at_end_ = WaitsAndWrites(); };
  program = std::make_unique<Program>(
      Platform{registry, profiles, folders, files, clock, transfer, unzip, shell, locale, toolkit, loop, automation},
      start_mode, std::move(command_line));
}

HeadlessApp::~HeadlessApp() {
  for (const RuntimeError& fault : dialog().UnhandledErrors()) {
    ADD_FAILURE() << "an unhandled error: " << fault.source << ": " << fault.description;
  }
}

int HeadlessApp::WaitsAndWrites() const {
  int sum = loop.waits;
  for (const auto& [call, count] : files.calls) sum += count;
  return sum;
}

void HeadlessApp::Run(const std::function<void()>& deed) {
  ASSERT_FALSE(ended) << "the process has ended";
  try {
    deed();
  } catch (const ProcessEnded&) {
    ended = true;
    EXPECT_EQ(WaitsAndWrites(), at_end_) << "the program continued after the end of the process";
  } catch (const StuckWait&) {
    ADD_FAILURE() << "a wait that nothing can end";
  }
}

void HeadlessApp::Start() {
  Run([this] {
    program->global.Main(program->dialog);
    loop.RunFor(std::chrono::milliseconds(0));
  });
}

void HeadlessApp::StartWith(std::deque<Answer> from_server, std::deque<std::int32_t> from_user) {
  transfer.answers = std::move(from_server);
  toolkit.answers = std::move(from_user);
  Start();
}

void HeadlessApp::Pass(std::chrono::milliseconds time) {
  Run([&] { loop.RunFor(time); });
}

void HeadlessApp::Click(Control& control) {
  ASSERT_TRUE(dialog().Visible() && control.Reachable() && !toolkit.MessageIsOpen())
      << control.Name() << " can't be reached";
  Send(UiEvent::Kind::Click, control.Id());
}

void HeadlessApp::CloseWindow() {
  ASSERT_TRUE(dialog().Visible());
  Send(UiEvent::Kind::CloseRequested, 0);
}

void HeadlessApp::Send(UiEvent::Kind kind, ControlId control) {
  const UiEvent event{.kind = kind, .control = control, .value = 0};
  loop.Post([this, event, load = dialog().LoadNumber()] { dialog().Deliver(event, load); });
  Pass(std::chrono::milliseconds(0));
}

void HeadlessApp::SetVersionValue(const std::string& name, const RegData& data) {
  program->registry.SetRegSubkeyValue(kLocalMachine, SettingsKey, VersionSubkey, name, data);
}

std::string HeadlessApp::VersionValue(const std::string& name) {
  return program->registry.TextOf(
      program->registry.GetRegSubkeyValue(kLocalMachine, SettingsKey, VersionSubkey, name, std::string()));
}

bool HeadlessApp::HasVersionValue(const std::string& name) {
  return program->registry.RegValueExists(kLocalMachine, MRegistry::JoinRegPath(SettingsKey, VersionSubkey), name, "");
}

std::string HeadlessApp::ProductFolder() const {
  return folder.CorePath(std::string("AppData\\") + kProductSubPath + "\\");
}

std::string HeadlessApp::Log() const {
  return LogLines(folder.Read("AppData\\Quillon Systems\\Tessaly Studio\\tslyUpdater.log"));
}

std::vector<std::string> HeadlessApp::Prompts() const {
  std::vector<std::string> prompts;
  for (const auto& message : toolkit.messages) prompts.push_back(message.prompt);
  return prompts;
}

}  // namespace tsly
