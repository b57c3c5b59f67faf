// Files in front of other files: it counts the calls, fails those that a test names, and forwards the rest.
#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ports/files.h"

namespace tsly {

enum class FileCall {
  kFind,
  kDelete,
  kRename,
  kCopy,
  kMakeFolder,
  kAppend,
  kLength,
  kOpenForReading,
  kRead,
  kOpenForWriting,
  kWrite,
  kClose,
};

class FailingFiles : public Files {
 public:
  struct Failure {
    FileCall call;
    int nth;  // counted from 1; 0: every call
    int code;
  };

  explicit FailingFiles(Files& files) : files_(files) {}

  std::vector<Failure> failures;
  std::map<FileCall, int> calls;

  int Find(const std::string& pattern, std::vector<std::string>& names) override {
    return Try(FileCall::kFind, [&] { return files_.Find(pattern, names); });
  }
  int Delete(const std::string& path) override {
    return Try(FileCall::kDelete, [&] { return files_.Delete(path); });
  }
  int Rename(const std::string& from, const std::string& to) override {
    return Try(FileCall::kRename, [&] { return files_.Rename(from, to); });
  }
  int Copy(const std::string& from, const std::string& to) override {
    return Try(FileCall::kCopy, [&] { return files_.Copy(from, to); });
  }
  int MakeFolder(const std::string& path) override {
    return Try(FileCall::kMakeFolder, [&] { return files_.MakeFolder(path); });
  }
  int Append(const std::string& path, std::string_view text) override {
    return Try(FileCall::kAppend, [&] { return files_.Append(path, text); });
  }
  int Length(const std::string& path, std::int64_t& length) override {
    return Try(FileCall::kLength, [&] { return files_.Length(path, length); });
  }
  int OpenForReading(const std::string& path, std::unique_ptr<FileReader>& reader) override {
    const int code = Try(FileCall::kOpenForReading, [&] { return files_.OpenForReading(path, reader); });
    if (code == 0) reader = std::make_unique<Stream>(*this, std::move(reader), nullptr);
    return code;
  }
  int OpenForWriting(const std::string& path, std::unique_ptr<FileWriter>& writer) override {
    const int code = Try(FileCall::kOpenForWriting, [&] { return files_.OpenForWriting(path, writer); });
    if (code == 0) writer = std::make_unique<Stream>(*this, nullptr, std::move(writer));
    return code;
  }

 private:
  // A reader or a writer, whichever is given.
  class Stream : public FileReader, public FileWriter {
   public:
    Stream(FailingFiles& owner, std::unique_ptr<FileReader> reader, std::unique_ptr<FileWriter> writer)
        : owner_(owner), reader_(std::move(reader)), writer_(std::move(writer)) {}
    int Read(std::span<char> buffer, std::size_t& got) override {
      got = 0;
      return owner_.Try(FileCall::kRead, [&] { return reader_->Read(buffer, got); });
    }
    int Write(std::string_view bytes) override {
      return owner_.Try(FileCall::kWrite, [&] { return writer_->Write(bytes); });
    }
    int Close() override {
      return owner_.Try(FileCall::kClose, [&] { return writer_->Close(); });
    }

   private:
    FailingFiles& owner_;
    std::unique_ptr<FileReader> reader_;
    std::unique_ptr<FileWriter> writer_;
  };

  template <typename Operation>
  int Try(FileCall call, Operation operation) {
    const int nth = ++calls[call];
    const auto failure = std::find_if(failures.begin(), failures.end(),
                                      [&](const Failure& f) { return f.call == call && (f.nth == nth || f.nth == 0); });
    return failure != failures.end() ? failure->code : operation();
  }

  Files& files_;
};

}  // namespace tsly
