#include "posix/sqlite_statements.h"

#include <sqlite3.h>

#include "ports/system_codes.h"
#include "posix/sqlite_codes.h"

namespace tsly {
namespace {

int Bind(sqlite3_stmt* statement, std::initializer_list<SqliteParameter> parameters) {
  int index = 0;
  for (const auto& parameter : parameters) {
    const int code = parameter.Bind(statement, ++index);
    if (code != SQLITE_OK) return code;
  }
  return SQLITE_OK;
}

bool ReadBytes(sqlite3_stmt* row, int column, std::string& bytes) {
  const void* data = sqlite3_column_blob(row, column);
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(row, column));
  bytes = data != nullptr ? std::string(static_cast<const char*>(data), size) : std::string();
  return data != nullptr || size == 0;
}

}  // namespace

int SqliteParameter::Bind(sqlite3_stmt* statement, int index) const {
  if (const auto* number = std::get_if<std::int64_t>(&value_)) return sqlite3_bind_int64(statement, index, *number);
  if (const auto* text = std::get_if<std::string_view>(&value_)) {
    return sqlite3_bind_text64(statement, index, text->data(), text->size(), SQLITE_STATIC, SQLITE_UTF8);
  }
  const auto* blob = std::get_if<Blob>(&value_);
  return blob == nullptr ? sqlite3_bind_null(statement, index)
                         : sqlite3_bind_blob64(statement, index, blob->bytes.data(), blob->bytes.size(), SQLITE_STATIC);
}

int SqliteStatements::Run(sqlite3* connection, const char* sql, std::initializer_list<SqliteParameter> parameters,
                          const TakeRow& take) {
  sqlite3_stmt* statement = nullptr;
  int code = Prepare(connection, sql, statement);
  if (code != SQLITE_OK) return CodeOfSqlite(code, connection);
  code = Bind(statement, parameters);
  while (code == SQLITE_OK || code == SQLITE_ROW) {
    code = sqlite3_step(statement);
    if (code == SQLITE_ROW && !take(statement)) {
      code = sqlite3_errcode(connection) == SQLITE_NOMEM ? SQLITE_NOMEM : SQLITE_CORRUPT;
    }
  }
  const int result = CodeOfSqlite(code, connection);
  sqlite3_reset(statement);  // returns the failure of the step again
  sqlite3_clear_bindings(statement);
  return result;
}

void SqliteStatements::Clear() {
  for (const auto& [sql, statement] : statements_) sqlite3_finalize(statement);
  statements_.clear();
}

int SqliteStatements::Prepare(sqlite3* connection, const char* sql, sqlite3_stmt*& statement) {
  sqlite3_stmt*& kept = statements_[sql];
  if (kept == nullptr) {
    const int code = sqlite3_prepare_v3(connection, sql, -1, SQLITE_PREPARE_PERSISTENT, &kept, nullptr);
    if (code != SQLITE_OK) return code;
  }
  statement = kept;
  return SQLITE_OK;
}

bool ReadText(sqlite3_stmt* row, int column, std::string& text) {
  return sqlite3_column_type(row, column) == SQLITE_TEXT && ReadBytes(row, column, text);
}

bool ReadBlob(sqlite3_stmt* row, int column, std::string& bytes) {
  return sqlite3_column_type(row, column) == SQLITE_BLOB && ReadBytes(row, column, bytes);
}

}  // namespace tsly
