#include "posix/sqlite_store.h"

#include <sqlite3.h>

#include <algorithm>
#include <utility>

#include "base/key_path.h"
#include "base/text.h"
#include "ports/system_codes.h"
#include "posix/sqlite_schema.h"

namespace tsly {
namespace {

struct KeyPlace {
  std::string parent, folded;
};

KeyPlace PlaceOf(const std::string& key) {
  const auto cut = key.rfind('\\');
  return cut == std::string::npos ? KeyPlace{"", key} : KeyPlace{key.substr(0, cut), key.substr(cut + 1)};
}

bool ReadData(sqlite3_stmt* row, int column, std::optional<RegistryData>& data) {
  if (sqlite3_column_type(row, column) == SQLITE_NULL) return true;
  data = RegistryData{static_cast<std::uint32_t>(sqlite3_column_int64(row, column)), {}};
  return sqlite3_column_type(row, column) == SQLITE_INTEGER && ReadBlob(row, column + 1, data->bytes);
}

SqliteParameter TypeOf(const std::optional<RegistryData>& data) {
  return SqliteParameter(data ? SqliteParameter::Value(std::int64_t{data->type}) : SqliteParameter::Value());
}

SqliteParameter BytesOf(const std::optional<RegistryData>& data) {
  return SqliteParameter(data ? SqliteParameter::Value(SqliteParameter::Blob{data->bytes}) : SqliteParameter::Value());
}

}  // namespace

// --- Reading

int SqliteStore::FindKey(const std::string& key, KeyState& state) {
  const KeyPlace place = PlaceOf(key);
  state = KeyState::kMissing;
  return connection_.Read(kFindKey, {place.parent, place.folded}, [&](sqlite3_stmt* row) {
    state = sqlite3_column_int(row, 0) != 0 ? KeyState::kDeleted : KeyState::kThere;
    return sqlite3_column_type(row, 0) == SQLITE_INTEGER;
  });
}

int SqliteStore::FindValue(const std::string& key, const std::string& name, std::optional<StoredValue>& value) {
  value.reset();
  return connection_.Read(kFindValue, {key, LowerCase(name)}, [&](sqlite3_stmt* row) {
    const bool stored = sqlite3_column_type(row, 0) != SQLITE_NULL;
    const bool changed = sqlite3_column_type(row, 5) != SQLITE_NULL;
    if (!stored && !changed) return true;
    value = StoredValue{name, {}, {}, sqlite3_column_int64(row, 5)};
    return !stored || (ReadText(row, 0, value->name) && ReadData(row, 1, value->data) && ReadData(row, 3, value->base));
  });
}

int SqliteStore::KeyNames(const std::string& key, std::vector<std::string>& names) {
  return Names(kKeyNames, key, names);
}

int SqliteStore::ValueNames(const std::string& key, std::vector<std::string>& names) {
  return Names(kValueNames, key, names);
}

int SqliteStore::Names(const char* sql, const std::string& key, std::vector<std::string>& names) {
  names.clear();
  return connection_.Read(sql, {key}, [&](sqlite3_stmt* row) { return ReadText(row, 0, names.emplace_back()); });
}

int SqliteStore::HasTree(const std::string& key, bool& any) {
  const KeyPlace place = PlaceOf(key);
  any = false;
  return connection_.Read(kHasTree, {key, place.parent, place.folded}, [&](sqlite3_stmt* row) {
    any = sqlite3_column_int(row, 0) != 0;
    return true;
  });
}

// --- Changing

int SqliteStore::Write(const std::function<int()>& changes) {
  if (gathered_ != kSuccess) return gathered_;
  int code = connection_.IsChanging() ? kSuccess : connection_.Begin();
  if (code == kSuccess) {
    code = changes();
    if (gathering_ && code == kSuccess) return code;
    if (gathering_) gathered_ = code;
  }
  return connection_.End(code);
}

void SqliteStore::Gather() { gathering_ = true; }

int SqliteStore::Finish(bool keep) {
  gathering_ = false;
  int code = std::exchange(gathered_, kSuccess);
  if (!connection_.IsChanging()) return code;
  if (keep) return connection_.End(code);
  connection_.Disconnect();
  return code;
}

int SqliteStore::PutKey(const std::string& root, const std::string& path, KeyState state) {
  const std::string folded = LowerCase(path);
  for (std::size_t start = 0; start < path.size();) {
    const std::size_t end = std::min(path.find('\\', start), path.size());
    const std::string parent = JoinKeyPath(root, folded.substr(0, start == 0 ? 0 : start - 1));
    const bool deleted = end == path.size() && state == KeyState::kDeleted;
    const int code = connection_.Run(
        kPutKey, {parent, folded.substr(start, end - start), path.substr(start, end - start), deleted ? 1 : 0});
    if (code != kSuccess) return code;
    start = end + 1;
  }
  return kSuccess;
}

int SqliteStore::PutValue(const std::string& key, const StoredValue& value) {
  const std::string folded = LowerCase(value.name);
  int code = kSuccess;
  if (connection_.IsShared()) {
    code = connection_.Run(kStampNewData, {key, folded, TypeOf(value.data), BytesOf(value.data)});
  } else {
    code = value.stamp != 0 ? connection_.Run(kPutStamp, {key, folded, value.stamp})
                            : connection_.Run(kEraseStamp, {key, folded});
  }
  if (code != kSuccess) return code;
  return connection_.Run(kPutValue, {key, folded, value.name, TypeOf(value.data), BytesOf(value.data),
                                     TypeOf(value.base), BytesOf(value.base)});
}

int SqliteStore::EraseValue(const std::string& key, const std::string& name) {
  const std::string folded = LowerCase(name);
  const int code = connection_.Run(connection_.IsShared() ? kStampErased : kEraseStamp, {key, folded});
  return code == kSuccess ? connection_.Run(kEraseValue, {key, folded}) : code;
}

int SqliteStore::EraseTree(const std::string& key) {
  const KeyPlace place = PlaceOf(key);
  int code = connection_.Run(kEraseKey, {place.parent, place.folded});
  if (code == kSuccess) code = connection_.Run(kEraseKeysBelow, {key});
  if (code == kSuccess) code = connection_.Run(connection_.IsShared() ? kStampErasedBelow : kEraseStampsBelow, {key});
  if (code == kSuccess) code = connection_.Run(kEraseValuesBelow, {key});
  return code;
}

}  // namespace tsly
