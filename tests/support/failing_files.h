// A wrapper for Files: counts the calls, fails those that a test selects, and forwards the rest.
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
  kMakeEmptyFile,
  kOpenForReading,
  kLength,
  kRead,
  kCreate,
  kWrite,
  kCommit,
  kJoinList,
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
  int MakeFolder(const std::string& path, FolderUse use) override {
    return Try(FileCall::kMakeFolder, [&] { return files_.MakeFolder(path, use); });
  }
  int Append(const std::string& path, std::string_view text) override {
    return Try(FileCall::kAppend, [&] { return files_.Append(path, text); });
  }
  int MakeEmptyFile(const std::string& path) override {
    return Try(FileCall::kMakeEmptyFile, [&] { return files_.MakeEmptyFile(path); });
  }
  int Create(const std::string& path, std::unique_ptr<NewFile>& file) override {
    const int code = Try(FileCall::kCreate, [&] { return files_.Create(path, file); });
    if (code == 0) file = std::make_unique<Created>(*this, std::move(file));
    return code;
  }
  int OpenForReading(const std::string& path, std::shared_ptr<OpenFile>& file) override {
    const int code = Try(FileCall::kOpenForReading, [&] { return files_.OpenForReading(path, file); });
    if (code == 0) file = std::make_shared<Opened>(*this, std::move(file));
    return code;
  }
  int JoinList(const std::string& path, std::unique_ptr<SharedList>& list, bool& alone) override {
    return Try(FileCall::kJoinList, [&] { return files_.JoinList(path, list, alone); });
  }

 private:
  class Opened : public OpenFile {
   public:
    Opened(FailingFiles& owner, std::shared_ptr<OpenFile> file) : owner_(owner), file_(std::move(file)) {}
    int Length(std::int64_t& length) override {
      return owner_.Try(FileCall::kLength, [&] { return file_->Length(length); });
    }
    int ReadAt(std::int64_t offset, std::span<char> buffer, std::size_t& got) override {
      got = 0;
      return owner_.Try(FileCall::kRead, [&] { return file_->ReadAt(offset, buffer, got); });
    }
    bool IsAt(const std::string& path) override { return file_->IsAt(path); }

   private:
    FailingFiles& owner_;
    std::shared_ptr<OpenFile> file_;
  };

  class Created : public NewFile {
   public:
    Created(FailingFiles& owner, std::unique_ptr<NewFile> file) : owner_(owner), file_(std::move(file)) {}
    int Write(std::string_view bytes) override {
      if (failure_ == 0) failure_ = owner_.Try(FileCall::kWrite, [&] { return file_->Write(bytes); });
      return failure_;
    }
    int Commit(std::shared_ptr<OpenFile>& file) override {
      const int code = owner_.Try(FileCall::kCommit, [&] { return failure_ != 0 ? failure_ : file_->Commit(file); });
      if (code == 0) file = std::make_shared<Opened>(owner_, std::move(file));
      return code;
    }

   private:
    FailingFiles& owner_;
    std::unique_ptr<NewFile> file_;
    int failure_ = 0;
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
