// The slow steps of an installation.
//   install_bench                        verification, compared with the same loop without events; a run of 100 packs
//   install_bench --unzip ZIP FOLDER     one extraction: seconds, additional peak megabytes
#include <QApplication>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <thread>

#include "bench.h"
#include "install/cCRC32.h"
#include "posix/posix_unzip.h"
#include "support/http_server.h"

namespace tsly {
namespace {

using std::chrono::steady_clock;

// Like cCRC32, without processing events.
std::uint32_t PlainChecksum(Files& files, const std::string& path) {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t i = 0; i < table.size(); ++i) {
    std::uint32_t c = i;
    for (int bit = 0; bit < 8; ++bit) c = (c & 1) != 0 ? (c >> 1) ^ 0xEDB88320 : c >> 1;
    table[i] = c;
  }
  std::shared_ptr<OpenFile> file;
  files.OpenForReading(path, file);
  std::vector<char> chunk(8192);
  std::uint32_t crc = 0xFFFFFFFF;
  std::size_t got = 0;
  for (std::int64_t at = 0; file->ReadAt(at, chunk, got) == 0 && got > 0; at += static_cast<std::int64_t>(got)) {
    for (const char byte : std::span(chunk).first(got)) {
      crc = (crc >> 8) ^ table[(crc ^ static_cast<std::uint8_t>(byte)) & 0xFF];
    }
  }
  return ~crc;
}

// Posts an event every few milliseconds from another thread, and records how long each waited.
class Poster {
 public:
  explicit Poster(EventLoop& loop)
      : thread_([this, &loop] {
          while (!ended_) {
            loop.Post([this, posted = steady_clock::now()] { waits.push_back({posted, steady_clock::now()}); });
            std::this_thread::sleep_for(std::chrono::milliseconds(7));
          }
        }) {}
  void End() {
    ended_ = true;
    thread_.join();
  }
  struct Wait {
    steady_clock::time_point posted, served;
    double Milliseconds() const { return Seconds(served - posted) * 1000; }
  };
  std::vector<Wait> waits;

 private:
  std::atomic<bool> ended_ = false;
  std::thread thread_;
};

void Verification() {
  BenchApp<UnattendedToolkit> app;
  std::string bytes(std::size_t{256} << 20, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 2654435761U >> 13);
  const std::string file = app.folder.Write("pack.zip", bytes);
  std::vector<double> own, plain;
  std::uint32_t same = 0;
  for (int round = 0; round < 7; ++round) {
    plain.push_back(SecondsOf([&] { same ^= PlainChecksum(app.files, file); }));
    own.push_back(
        SecondsOf([&] { same ^= static_cast<std::uint32_t>(cCRC32(app.files, app.loop).GetFileCrc32(file)); }));
  }
  std::printf("verification of 256 MiB: %.3f s   without events: %.3f s   speed against it: %.2f%s\n", Median(own),
              Median(plain), Median(plain) / Median(own), same == 0 ? "" : "   DIFFERENT CHECKSUMS");
  Poster poster(app.loop);
  cCRC32(app.files, app.loop).GetFileCrc32(file);
  poster.End();
  double longest = 0;
  for (const auto& wait : poster.waits) longest = std::max(longest, wait.Milliseconds());
  std::printf("an event posted meanwhile: %.1f ms at the longest, of %zu\n", longest, poster.waits.size());
}

// Records the time inside Extract.
class TimedUnzip final : public PosixUnzip {
 public:
  static inline std::vector<std::pair<steady_clock::time_point, steady_clock::time_point>> busy;
  Fault Extract(std::string& first, std::string& second, std::int32_t& result) override {
    busy.emplace_back(steady_clock::now(), steady_clock::time_point());
    const Fault fault = PosixUnzip::Extract(first, second, result);
    busy.back().second = steady_clock::now();
    return fault;
  }
};
class TimedUnzipFactory final : public UnzipFactory {
 public:
  std::unique_ptr<UnzipComponent> Create() override { return std::make_unique<TimedUnzip>(); }
};

void HundredPacks(const std::string& pack_file) {
  constexpr int kPacks = 100;
  BenchApp<QtToolkit, TimedUnzipFactory> app;
  std::ifstream file(pack_file, std::ios::binary);
  const std::string pack((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const std::string local = app.folder.Write("pack.zip", pack);
  const auto crc = static_cast<std::uint32_t>(cCRC32(app.files, app.loop).GetFileCrc32(local));
  HttpServer server;
  std::string versions = "[Versions]\r\n", sections;
  for (int i = 0; i < kPacks; ++i) {
    const std::string name = "Module " + std::to_string(i);
    versions += name + "=7.1\r\n";
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08X", crc);
    sections += "[" + name + "]\r\nDownload URL=" + server.Url().append(std::to_string(i)).append(".zip") +
                "\r\nSize=" + std::to_string(pack.size()) + "\r\nCRC32=" + digits +
                "\r\nAction 1=unzip:{commonappdata}" + name + "\r\n";
  }
  server.Expect(Reply(versions + sections));
  for (int i = 0; i < kPacks; ++i) server.Expect(Reply(pack));
  app.SetVersionValue(kValueVersionFileUrl, server.Url() + "updates.txt");
  frmVerify& dialog = app.program.dialog;
  dialog.Show();
  dialog.ShowTheResults();
  Poster poster(app.loop);
  const auto click = UiEvent{.kind = UiEvent::Kind::Click, .control = dialog.controls.cmdInstall.Id(), .value = 0};
  const double taken = SecondsOf([&] { dialog.Deliver(click, dialog.LoadNumber()); });
  poster.End();

  // Excludes events during the saving of a document or an extraction, which block the thread.
  double longest = 0, longest_of_all = 0;
  std::size_t counted = 0;
  for (const auto& wait : poster.waits) {
    const auto met = [&](const auto& span) { return wait.posted < span.second && wait.served > span.first; };
    longest_of_all = std::max(longest_of_all, wait.Milliseconds());
    if (std::any_of(TimedUnzip::busy.begin(), TimedUnzip::busy.end(), met) ||
        std::any_of(app.transfer.saved.begin(), app.transfer.saved.end(), met)) {
      continue;
    }
    longest = std::max(longest, wait.Milliseconds());
    ++counted;
  }
  const std::string& transcript = dialog.controls.txtProcessing.Text();
  std::printf(
      "100 packs of %.1f MB installed in %.1f s%s; the dialog answers within %.1f ms (%zu times), within %.1f ms "
      "with savings and extractions\n",
      static_cast<double>(pack.size()) / 1e6, taken,
      transcript.find("installed: 100") == std::string::npos ? " WITH FAILURES" : "", longest, counted, longest_of_all);
}

int Unzip(const char* archive, const char* folder) {
  PosixUnzip unzip;
  std::shared_ptr<OpenFile> file;
  SystemFiles().OpenForReading(archive, file);
  unzip.SetArchiveFile(archive, file);
  unzip.SetExtractFolder(folder);
  std::string first, second;
  std::int32_t result = 0;
  const double before = PeakMegabytes();
  const double taken = SecondsOf([&] { unzip.Extract(first, second, result); });
  if (result != 0) std::fprintf(stderr, "%s\n", unzip.FailureText().c_str());
  std::printf("%.3f %.1f\n", taken, PeakMegabytes() - before);
  return result;
}

}  // namespace
}  // namespace tsly

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], "--unzip") == 0) return tsly::Unzip(argv[2], argv[3]);
  const QApplication application(argc, argv);
  tsly::Verification();
  if (argc > 1) tsly::HundredPacks(argv[1]);
}
