// An unzip component that unpacks nothing and records its calls. A test scripts the results of Extract; an unscripted
// call fails the test. The factory must outlive its objects.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ports/unzip.h"

namespace tsly {

class RecordingUnzipFactory : public UnzipFactory {
 public:
  // The calls on each object in order: "ArchiveFile=x", "ExtractFolder=x", "ExtractOptionA=True",
  // "ExtractOptionB=False", "Extract", "FailureText".
  std::vector<std::vector<std::string>> objects;
  std::deque<std::int32_t> results;
  std::string failure_text;  // returned by FailureText after a result other than 0
  bool fail_create = false;
  std::string fail_call;  // "Extract", "ArchiveFile", ...: this call only returns `fault`
  std::function<void(OpenFile* archive)> on_extract;
  Fault fault{-2147467259, "CGUnzipFiles", "Method failed"};

  std::unique_ptr<UnzipComponent> Create() override {
    if (fail_create) return nullptr;
    objects.emplace_back();
    return std::make_unique<Object>(*this, objects.size() - 1);
  }

 private:
  class Object : public UnzipComponent {
   public:
    Object(RecordingUnzipFactory& factory, std::size_t index) : factory_(factory), index_(index) {}

    Fault SetArchiveFile(const std::string& path, std::shared_ptr<OpenFile> file) override {
      archive_ = std::move(file);
      return Log("ArchiveFile", "=" + path);
    }
    Fault SetExtractFolder(const std::string& path) override { return Log("ExtractFolder", "=" + path); }
    Fault SetExtractOptionA(bool on) override { return Log("ExtractOptionA", on ? "=True" : "=False"); }
    Fault SetExtractOptionB(bool on) override { return Log("ExtractOptionB", on ? "=True" : "=False"); }

    Fault Extract(std::string&, std::string&, std::int32_t& result) override {
      if (factory_.on_extract) factory_.on_extract(archive_.get());
      if (Fault raised = Log("Extract", "")) return raised;
      EXPECT_FALSE(factory_.results.empty()) << "an unscripted Extract";
      result = factory_.results.empty() ? -1 : factory_.results.front();
      if (!factory_.results.empty()) factory_.results.pop_front();
      failed_ = result != 0;
      return {};
    }

    std::string FailureText() override {
      Log("FailureText", "");
      return failed_ ? factory_.failure_text : "";
    }

   private:
    Fault Log(const std::string& call, const std::string& value) {
      factory_.objects[index_].push_back(call + value);
      return call == factory_.fail_call ? factory_.fault : Fault{};
    }

    RecordingUnzipFactory& factory_;
    std::size_t index_;
    std::shared_ptr<OpenFile> archive_;
    bool failed_ = false;
  };
};

}  // namespace tsly
