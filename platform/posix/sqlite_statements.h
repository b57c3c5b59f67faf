// The prepared statements of one SQLite connection, prepared at their first use and kept until Clear. Results are codes
// of ports/system_codes.h.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>

struct sqlite3;
struct sqlite3_stmt;

namespace tsly {

// A value for "?1", "?2" and so on. Text and bytes must live until the call returns.
class SqliteParameter {
 public:
  struct Blob {
    std::string_view bytes;
  };
  using Value = std::variant<std::monostate, std::int64_t, std::string_view, Blob>;

  SqliteParameter(const std::string& text) : value_(std::string_view(text)) {}  // NOLINT: lists of these read as
  SqliteParameter(std::int64_t number) : value_(number) {}                      // NOLINT  arguments
  explicit SqliteParameter(Value any) : value_(any) {}

  int Bind(sqlite3_stmt* statement, int index) const;

 private:
  Value value_;
};

class SqliteStatements {
 public:
  // Receives one row; false: its columns are invalid.
  using TakeRow = std::function<bool(sqlite3_stmt* row)>;

  // `sql` is identified by its address. 1009: the statement doesn't match the file's tables, or `take` rejected a row.
  int Run(sqlite3* connection, const char* sql, std::initializer_list<SqliteParameter> parameters, const TakeRow& take);
  // Must be called before the connection is closed.
  void Clear();

 private:
  int Prepare(sqlite3* connection, const char* sql, sqlite3_stmt*& statement);

  std::unordered_map<const char*, sqlite3_stmt*> statements_;
};

// False: the column has no text.
bool ReadText(sqlite3_stmt* row, int column, std::string& text);
bool ReadBlob(sqlite3_stmt* row, int column, std::string& bytes);

}  // namespace tsly
