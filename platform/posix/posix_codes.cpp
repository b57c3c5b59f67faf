#include "posix/posix_codes.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "ports/system_codes.h"

namespace tsly {
namespace {

struct Row {
  int error;
  int code;
};

constexpr Row kCodes[] = {
    {0,            kSuccess         },
    {ENOENT,       kFileNotFound    },
    {ENOTDIR,      kPathNotFound    },
    {ELOOP,        kPathNotFound    },
    {EMFILE,       kTooManyOpenFiles},
    {ENFILE,       kTooManyOpenFiles},
    {EACCES,       kAccessDenied    },
    {EPERM,        kAccessDenied    },
    {EROFS,        kAccessDenied    },
    {EISDIR,       kAccessDenied    },
    {ENXIO,        kAccessDenied    }, // a pipe or a device instead of a file
    {EBADF,        kInvalidHandle   },
    {EXDEV,        kNotSameDevice   },
    {EBUSY,        kSharingViolation},
    {ETXTBSY,      kSharingViolation},
    {EINVAL,       kInvalidParameter},
    {ENOMEM,       kNotEnoughMemory },
    {ENOSPC,       kDiskFull        },
    {EDQUOT,       kDiskFull        },
    {EFBIG,        kDiskFull        },
    {EEXIST,       kAlreadyExists   },
    {ENOTEMPTY,    kAccessDenied    },
    {ENAMETOOLONG, kNameTooLong     },
};

}  // namespace

int CodeOf(int error, int otherwise) {
  const auto* row =
      std::find_if(std::begin(kCodes), std::end(kCodes), [error](const Row& r) { return r.error == error; });
  return row != std::end(kCodes) ? row->code : otherwise;
}

}  // namespace tsly
