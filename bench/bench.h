// What the benchmark programs share: a scratch folder, medians, peak memory, and the program on real backends.
#pragma once

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "edition.h"
#include "posix/curl_transfer.h"
#include "posix/sqlite_registry.h"
#include "posix/system_clock.h"
#include "program.h"
#include "qt/qt_event_loop.h"
#include "qt/qt_toolkit.h"
#include "services/MRegistryConstants.h"
#include "support/headless_app.h"

namespace tsly {

inline double Seconds(std::chrono::steady_clock::duration time) { return std::chrono::duration<double>(time).count(); }

inline double SecondsOf(const std::function<void()>& body) {
  const auto start = std::chrono::steady_clock::now();
  body();
  return Seconds(std::chrono::steady_clock::now() - start);
}

inline double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

inline double PeakMegabytes() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}

inline double ProcessorSeconds() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// The transfer control of a benchmark: records the times of the request, of its last state, and of the end of that
// state's handling.
class TimedTransfer final : public TransferControl {
 public:
  explicit TimedTransfer(TransferControl& inner) : inner_(inner) {}

  std::chrono::steady_clock::time_point begun, completed, stored;
  std::vector<std::pair<std::chrono::steady_clock::time_point, std::chrono::steady_clock::time_point>> saved;

  void SetStateChanged(std::function<void(std::int16_t)> handler) override {
    inner_.SetStateChanged([this, handler](std::int16_t state) {
      if (state == icError || state == icResponseCompleted) completed = std::chrono::steady_clock::now();
      if (handler) handler(state);
      stored = std::chrono::steady_clock::now();
      if (state == icError || state == icResponseCompleted) saved.emplace_back(completed, stored);
    });
  }
  void SetRequestTimeout(std::int32_t seconds) override { inner_.SetRequestTimeout(seconds); }
  void SetProtocol(std::int16_t protocol) override { inner_.SetProtocol(protocol); }
  void SetSpoolFolder(const std::string& folder) override { inner_.SetSpoolFolder(folder); }
  Fault Execute(const std::string& url, const std::string& operation) override {
    begun = std::chrono::steady_clock::now();
    return inner_.Execute(url, operation);
  }
  void Cancel() override { inner_.Cancel(); }
  Fault GetChunk(std::int32_t size, ChunkType type, std::string& chunk) override {
    return inner_.GetChunk(size, type, chunk);
  }
  std::int32_t ResponseCode() override { return inner_.ResponseCode(); }
  std::string ResponseInfo() override { return inner_.ResponseInfo(); }

 private:
  TransferControl& inner_;
};

// Answers every message, and records when the pointer was reset: the end of RetrieveUpdates.
class UnattendedToolkit final : public HeadlessToolkit {
 public:
  std::chrono::steady_clock::time_point pointer_set;
  std::string last_message;

  void SetScreenPointer(std::int32_t) override { pointer_set = std::chrono::steady_clock::now(); }

 private:
  std::int32_t DoShowMessage(const std::string& prompt, std::int32_t, const std::optional<std::string>&) override {
    last_message = prompt;
    return kAnswerOk;
  }
};

// The program in a scratch folder, with the real registry, INI reader, files, loop and transfer control.
template <typename ToolkitType, typename UnzipType = RecordingUnzipFactory>
class BenchApp {
 public:
  BenchApp() {
    CopyResources(folder);
    program.global.Main(program.dialog);
  }

  void SetVersionValue(const std::string& name, const std::string& text) {
    program.registry.SetRegSubkeyValue(kLocalMachine, SettingsKey, VersionSubkey, name, text);
  }
  TempFolder folder;
  SystemClock clock;
  QtEventLoop loop{clock};
  ToolkitType toolkit = [this] {
    if constexpr (std::is_constructible_v<ToolkitType, QtEventLoop&>)
      return ToolkitType(loop);
    else
      return ToolkitType();
  }();
  SqliteRegistry registry{folder.NativePath("user.sqlite"), folder.NativePath("machine.sqlite")};
  IniReader profiles;
  TestFolders folders{folder};
  SystemFiles files;
  FixedLocale locale;
  RecordingShell shell;
  UnzipType unzip;
  LocalAutomation automation;
  CurlTransfer curl{loop, loop};
  TimedTransfer transfer{curl};
  Program program{
      {.registry = registry,
       .profiles = profiles,
       .folders = folders,
       .files = files,
       .clock = clock,
       .transfer = transfer,
       .unzip = unzip,
       .shell = shell,
       .locale = locale,
       .toolkit = toolkit,
       .loop = loop,
       .automation = automation},
      0,
      ""
  };
};

}  // namespace tsly
