// The text format of registry editors: an export has everything that was imported, and importing it again changes
// nothing. Input: the file.
#include <sstream>

#include "fuzz.h"
#include "support/memory_registry.h"
#include "tslyReg/commands.h"
#include "tslyReg/reg_text.h"

namespace tsly {
namespace {

ToolStatus Run(MemoryRegistry& registry, const std::vector<std::string>& words, const std::string& in,
               std::string& out) {
  std::istringstream input(in);
  std::ostringstream output, error;
  const ToolStatus status = RunTool(registry, words, {input, output, error});
  HOLDS(registry.OpenHandles() == 0);
  HOLDS((status == ToolStatus::kDone) == error.str().empty());
  out = output.str();
  return status;
}

// Exports everything.
bool Export(MemoryRegistry& registry, std::string& text) {
  text.clear();
  for (const char* root : {"HKCU", "HKLM", "HKCR"}) {
    std::string part;
    const ToolStatus status = Run(registry, {"export", root}, "", part);
    if (status == ToolStatus::kRefused) return false;
    HOLDS(status == ToolStatus::kDone || status == ToolStatus::kNotThere);
    if (status == ToolStatus::kDone) text += text.empty() ? part : part.substr(part.find('\n') + 1);
  }
  return true;
}

}  // namespace

void Try(std::string_view bytes) {
  const ReadRegText read = ParseRegText(bytes);
  HOLDS((read.fault_line == 0) == read.fault.empty());
  MemoryRegistry registry, again;
  std::string none, text, second;
  const ToolStatus status = Run(registry, {"import", "-"}, std::string(bytes), none);
  HOLDS(none.empty());
  HOLDS(status != ToolStatus::kUsage && (status == ToolStatus::kDone) <= read.fault.empty());
  if (!Export(registry, text)) return;
  if (!read.fault.empty()) HOLDS(text.find('[') == text.npos || text.find("\"=") == text.npos);  // nothing partial
  if (text.empty()) return;
  for (const std::string& form : {text, AsEditorsFile(text)}) {
    HOLDS(Run(again, {"import", "-"}, form, none) == ToolStatus::kDone);
    HOLDS(Export(again, second) && second == text);
  }
}

}  // namespace tsly
