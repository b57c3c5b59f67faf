// The unzip component of the Linux edition: the common one on UnpackTarget's folders.
#pragma once

#include "common/archive_unzip.h"

namespace tsly {

class PosixUnzip : public ArchiveUnzip {
 private:
  std::unique_ptr<Unpacking> MakeUnpacking() const override;
  std::shared_ptr<void> NamesInUtf8() const override;
};

class PosixUnzipFactory : public UnzipFactory {
 public:
  std::unique_ptr<UnzipComponent> Create() override { return std::make_unique<PosixUnzip>(); }
};

}  // namespace tsly
