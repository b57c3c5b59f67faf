#include "common/unzip_failure.h"

#include <iterator>
#include <utility>

#include "base/text.h"

namespace tsly {
namespace {

// Replaces characters that would break the line.
std::string InOneLine(std::string text, char line_end) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') c = c == '\n' ? line_end : '?';
  }
  return TrimEnd(text);
}

// Truncates a long name.
std::string Shown(std::string name) {
  constexpr std::size_t kLongest = 200;
  if (name.size() > kLongest) {
    std::size_t end = kLongest;
    while ((static_cast<unsigned char>(name[end]) & 0xC0) == 0x80) --end;
    name = name.substr(0, end) + "...";
  }
  return InOneLine(std::move(name), '?');
}

}  // namespace

std::string Describe(const UnzipFailure& failure) {
  static constexpr struct {
    const char* before;  // followed by the name in quotes, if any
    const char* after;
  } kTexts[] = {
      {"",                                ""                                                              },
      {"The pack",                        "can't be opened"                                               },
      {"The pack",                        "is no ZIP archive, or its end is missing"                      },
      {"The name",                        "in the pack isn't allowed"                                     },
      {"The entry",                       "in the pack is a link or a device, which isn't allowed"        },
      {"The name",                        "is in the pack twice, or differs from another in capitals only"},
      {"The entry",                       "can't be put in place: something else is there"                },
      {"The pack",                        "has too many entries"                                          },
      {"The contents of the pack, up to", "are larger than the disk or than the pack can hold"            },
      {"The file",                        "in the pack is encrypted"                                      },
      {"The file",                        "in the pack is packed by a method that isn't known"            },
      {"The file",                        "in the pack has a wrong checksum"                              },
      {"The file",                        "in the pack doesn't have the size that the pack states"        },
      {"The pack is damaged at",          ""                                                              },
      {"The disk is too full for",        ""                                                              },
      {"The file or folder",              "can't be written"                                              },
  };
  const auto index = static_cast<std::size_t>(failure.reason);
  if (failure.reason == UnzipResult::kDone || index >= std::size(kTexts)) return {};
  std::string text = kTexts[index].before;
  text += " \"" + Shown(failure.name) + '"';
  if (*kTexts[index].after != '\0') text += std::string(" ") + kTexts[index].after;
  if (!failure.detail.empty()) text += " (" + InOneLine(failure.detail, ' ') + ")";
  return text + '.';
}

}  // namespace tsly
