// The maker's built-in addresses.
#pragma once

namespace tsly {

inline constexpr const char* kHomePage = "http://www.quillonsystems.example/";
inline constexpr const char* kUpdatesFileAddress = "http://updates.quillonsystems.example/download/app-updates.txt";

}  // namespace tsly
