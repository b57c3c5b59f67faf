// The names and numbers of the program for automation clients: the only source of an edition's registration and
// introspection data. Clients are built with the numbers, so they never change.
#pragma once

#include <cstdint>

namespace tsly::automation {

inline constexpr const char* kTypeLibrary = "TessalyStudio";
inline constexpr const char* kTypeLibraryHelp = "Tessaly Studio Updater";
inline constexpr const char* kTypeLibraryId = "{12DBF0DC-AFE3-4795-AB38-2E00BC630138}";
inline constexpr const char* kTypeLibraryVersion = "1.0";

inline constexpr const char* kInterface = "_CheckNew";  // dual, the class's default
inline constexpr const char* kInterfaceId = "{8865E123-2734-4160-9563-D4B61033CB32}";

inline constexpr const char* kClass = "CheckNew";  // out of process, no events
inline constexpr const char* kClassId = "{98921F2E-6762-4695-B66D-DF47B69C664F}";
inline constexpr const char* kProgId = "TessalyStudio.CheckNew";

enum class MemberKind { kPropertyGet, kPropertyPut, kMethod };

// Members of the interface in the order of their slots, after those of the dual interface's base. The property is a
// signed 32-bit integer; the methods have neither arguments nor results.
struct Member {
  const char* name;
  MemberKind kind;
  std::uint32_t dispatch_id;
};

inline constexpr Member kMembers[] = {
    {"Status",           MemberKind::kPropertyGet, 0x40030000},
    {"Status",           MemberKind::kPropertyPut, 0x40030000},
    {"VerifyVersion",    MemberKind::kMethod,      0x60030001},
    {"ConfigureUpdater", MemberKind::kMethod,      0x60030002},
    {"Quit",             MemberKind::kMethod,      0x60030003},
};

}  // namespace tsly::automation
