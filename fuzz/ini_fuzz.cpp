// The INI reader against a plain one: every value and every list, with buffers of all sizes. Input: two characters that
// choose the code page, how names are spelled and sizes of buffers, then the file.
#include "edition.h"
#include "fuzz.h"
#include "plain_ini.h"

namespace tsly {
namespace {

constexpr const char* kFile = "x.ini";
constexpr std::size_t kMostNames = 4;

std::string ExpectedValue(const std::string& text, std::size_t size) { return text.substr(0, size - 1) + '\0'; }

std::string ExpectedList(const std::string& list, std::size_t size) {
  if (size < 2) return std::string(1, '\0');
  return list.size() <= size - 2 ? list + '\0' : list.substr(0, size - 2) + std::string(2, '\0');
}

class Question {
 public:
  // `chosen` selects an additional buffer size.
  Question(IniReader& reader, const char* section, const char* key, std::size_t chosen)
      : reader_(reader), section_(section), key_(key), chosen_(chosen) {}

  void ExpectValue(const std::optional<std::string>& value) {
    const std::string text = value.value_or("fallback");
    Ask(text.size(), [&](std::size_t size) { return ExpectedValue(text, size); });
  }
  void ExpectList(const std::vector<std::string>& names) {
    if (names.empty()) return ExpectValue(std::nullopt);
    std::string list;
    for (const std::string& name : names) list += name + '\0';
    is_list_ = true;
    Ask(list.size(), [&](std::size_t size) { return ExpectedList(list, size); });
  }

 private:
  // All sizes near the length of the result, and one other.
  template <typename Expected>
  void Ask(std::size_t length, Expected expected) {
    HOLDS(reader_.Read(section_, key_, "fallback", {}, kFile) == 0);
    const std::size_t other = 1 + chosen_ % (length + 4), end = length + (is_list_ ? 3 : 2);
    AskWith(other, expected(other));
    for (std::size_t size = std::max<std::size_t>(length, 1); size < end; ++size) AskWith(size, expected(size));
  }
  void AskWith(std::size_t size, const std::string& expected) {
    std::string buffer(size, '#');
    const std::size_t result = reader_.Read(section_, key_, "fallback", buffer, kFile);
    const bool is_cut =
        is_list_ && size >= 2 && expected.size() == size && expected[size - 2] == '\0' && result == size - 2;
    HOLDS(result + 1 == expected.size() || is_cut);
    HOLDS(std::string_view(buffer).starts_with(expected) &&
          buffer.find_first_not_of('#', expected.size()) == buffer.npos);
  }

  IniReader& reader_;
  const char* section_;
  const char* key_;
  std::size_t chosen_;
  bool is_list_ = false;
};

std::string Spelled(std::string name, std::uint8_t how) {
  for (char& c : name) {
    if ((how & 1) != 0 && c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
    if ((how & 2) != 0 && c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
  }
  return (how & 4) != 0 ? " \t" + name + " " : name;
}

std::vector<std::string> SomeOf(std::vector<std::string> names, const std::vector<std::string>& always) {
  if (names.size() > kMostNames) names.erase(names.begin() + kMostNames / 2, names.end() - kMostNames / 2);
  names.insert(names.end(), always.begin(), always.end());
  return names;
}

}  // namespace

void Try(std::string_view bytes) {
  Input input(bytes);
  static constexpr std::optional<std::uint32_t> kCodePages[] = {std::nullopt, 1252, 932, 65001};
  const auto code_page = kCodePages[input.Byte() % 4];
  const std::uint8_t how = input.Byte();
  const std::string_view file = input.Rest();
  MemoryDocument document(file);
  IniReader reader(code_page);
  HOLDS(reader.Pin(kFile, &document) == 0);
  const PlainIni plain(file, code_page);

  std::size_t chosen = how / 8;
  Question(reader, nullptr, "k", chosen++).ExpectList(plain.Sections());
  for (const std::string& section : SomeOf(plain.Sections(), {"s", ""})) {
    const std::string asked = Spelled(section, how);
    Question(reader, asked.c_str(), nullptr, chosen++).ExpectList(plain.Keys(asked));
    for (const std::string& key : SomeOf(plain.Keys(section), {"k", ";k", "", "a=b"})) {
      const std::string spelled = Spelled(key, how);
      Question(reader, asked.c_str(), spelled.c_str(), chosen++).ExpectValue(plain.Value(asked, spelled));
    }
  }
}

}  // namespace tsly
