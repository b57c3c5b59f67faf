#include "base/date_time.h"
#include "dialog/MGlobal.h"
#include "ports/clock.h"
#include "ports/files.h"

namespace tsly {

std::string MGlobal::LogFilePath() {
  return GetSpecialFolder(kFolderAppData, std::nullopt, kProductSubPath) + "tslyUpdater.log";
}

void MGlobal::ResetLogFile() { needs_.files.Delete(LogFilePath()); }

void MGlobal::WriteLog(std::int32_t enable, const std::string& text) {
  if (enable != 1) return;
  needs_.files.Append(LogFilePath(), LogStamp(needs_.clock.Now()) + "  " + text + "\r\n");
}

}  // namespace tsly
