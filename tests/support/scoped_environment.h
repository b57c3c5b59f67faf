// Sets environment variables and restores them in the destructor.
#pragma once

#include <cstdlib>
#include <map>
#include <optional>
#include <string>

namespace tsly {

class ScopedEnvironment {
 public:
  using Variables = std::map<std::string, std::optional<std::string>>;

  // Removes a variable without a value.
  explicit ScopedEnvironment(const Variables& wanted) {
    for (const auto& [name, value] : wanted) {
      const char* before = std::getenv(name.c_str());
      before_[name] = before != nullptr ? std::optional<std::string>(before) : std::nullopt;
      Set(name, value);
    }
  }
  ScopedEnvironment(const std::string& name, const std::string& value)
      : ScopedEnvironment(Variables{
            {name, value}
  }) {}
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
  ~ScopedEnvironment() {
    for (const auto& [name, value] : before_) Set(name, value);
  }

 private:
  static void Set(const std::string& name, const std::optional<std::string>& value) {
    value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
  }

  Variables before_;
};

}  // namespace tsly
