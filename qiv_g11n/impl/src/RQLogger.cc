#include "RQLogger.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#if defined(__unix__) || defined(__APPLE__)
#include <pthread.h>
#endif

namespace {

typedef RQLogger::Argument Argument;
typedef RQLogger::ArgumentType ArgumentType;
typedef RQLogger::Record Record;
typedef RQLogger::TextRef TextRef;
typedef RQLogger::string_type string_type;

struct Message {
  const char* identifier;
  const char* type_codes;
};

struct Translation {
  const char* identifier;
  const char* text;
};

struct LanguageEntry {
  const char* code;
  const Translation* texts;
  std::size_t size;
};

// clang-format off
const Message kMessages[] = {
#define QIV_MESSAGE(identifier, level, function_name, type_codes) {identifier, type_codes},
#include "catalogue/messages.inc"
#undef QIV_MESSAGE
};

#define QIV_LANGUAGE(code) const Translation kTexts_##code[] = {
#define QIV_TEXT(identifier, text) {identifier, text},
#define QIV_END_LANGUAGE };
#include "catalogue/languages.inc"
#undef QIV_LANGUAGE
#undef QIV_TEXT
#undef QIV_END_LANGUAGE

const LanguageEntry kLanguages[] = {
#define QIV_LANGUAGE(code) {#code, kTexts_##code, sizeof(kTexts_##code) / sizeof(Translation)},
#define QIV_TEXT(identifier, text)
#define QIV_END_LANGUAGE
#include "catalogue/languages.inc"
#undef QIV_LANGUAGE
#undef QIV_TEXT
#undef QIV_END_LANGUAGE
};
// clang-format on

const LanguageEntry& kEnglish = kLanguages[0];

std::atomic<const LanguageEntry*> chosen_language(nullptr);
std::atomic<unsigned long long> sink_failures(0);
thread_local bool inside_sink = false;

struct SinkSlot {
  std::mutex lock;
  std::shared_ptr<const RQLogger::Sink> sink;
};

// Never destroyed, so that destructors of static objects and threads that outlive main can log.
SinkSlot& sink_slot() {
  alignas(SinkSlot) static unsigned char storage[sizeof(SinkSlot)];
  static SinkSlot* const slot = new (storage) SinkSlot();
  return *slot;
}

std::shared_ptr<const RQLogger::Sink> current_sink() {
  SinkSlot& slot = sink_slot();
  const std::lock_guard<std::mutex> guard(slot.lock);
  return slot.sink;
}

#if defined(__unix__) || defined(__APPLE__)
// Without these a child forked while another thread holds the lock could never log.
struct ForkHandlers {
  ForkHandlers() noexcept {
    sink_slot();
    pthread_atfork([] { sink_slot().lock.lock(); }, [] { sink_slot().lock.unlock(); },
                   [] { sink_slot().lock.unlock(); });
  }
};
const ForkHandlers fork_handlers;
#endif

class ErrnoKeeper {
 public:
  ErrnoKeeper() noexcept : _errno(errno) {}
  ~ErrnoKeeper() { errno = _errno; }
  ErrnoKeeper(const ErrnoKeeper&) = delete;
  ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

 private:
  const int _errno;
};

class InsideSink {
 public:
  InsideSink() noexcept { inside_sink = true; }
  ~InsideSink() { inside_sink = false; }
  InsideSink(const InsideSink&) = delete;
  InsideSink& operator=(const InsideSink&) = delete;
};

char canonical(char c) {
  if (c == '-') return '_';
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool same_name(const char* code, const char* name, std::size_t size) {
  if (std::strlen(code) != size) return false;
  for (std::size_t i = 0; i < size; ++i) {
    if (canonical(code[i]) != canonical(name[i])) return false;
  }
  return true;
}

std::size_t length_before(const char* stops, const char* name, std::size_t size) {
  std::size_t length = 0;
  while (length < size && name[length] != '\0' && !std::strchr(stops, name[length])) ++length;
  return length;
}

const LanguageEntry* find_language(TextRef locale_name) {
  const char* const name = locale_name.data();
  const std::size_t with_territory = length_before(".@", name, locale_name.size());
  const std::size_t language_only = length_before("_-", name, with_territory);
  for (const std::size_t size : {with_territory, language_only}) {
    for (const LanguageEntry& language : kLanguages) {
      if (same_name(language.code, name, size)) return &language;
    }
  }
  return same_name("C", name, with_territory) || same_name("POSIX", name, with_territory)
             ? &kEnglish
             : nullptr;
}

const LanguageEntry* find_language_of_environment() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* const value = std::getenv(variable);
    if (value && *value) return find_language(value);
  }
  return &kEnglish;
}

const LanguageEntry& current_language() {
  const LanguageEntry* language = chosen_language.load(std::memory_order_acquire);
  if (!language) {
    const LanguageEntry* found = find_language_of_environment();
    if (!found) found = &kEnglish;
    if (chosen_language.compare_exchange_strong(language, found)) language = found;
  }
  return *language;
}

const Message* find_message(const string_type& identifier) {
  for (const Message& message : kMessages) {
    if (identifier == message.identifier) return &message;
  }
  return nullptr;
}

const char* find_text(const LanguageEntry& language, const char* identifier) {
  for (std::size_t i = 0; i < language.size; ++i) {
    const Translation& translation = language.texts[i];
    if (std::strcmp(translation.identifier, identifier) == 0 && *translation.text) {
      return translation.text;
    }
  }
  return nullptr;
}

struct TypeCode {
  const char* code;
  ArgumentType type;
};

const TypeCode kTypeCodes[] = {
    {"%e", ArgumentType::real},           {"%f", ArgumentType::real},
    {"%g", ArgumentType::real},           {"%d", ArgumentType::signed_int},
    {"%i", ArgumentType::signed_int},     {"%u", ArgumentType::unsigned_int},
    {"%ld", ArgumentType::signed_long},   {"%lld", ArgumentType::signed_long},
    {"%lu", ArgumentType::unsigned_long}, {"%llu", ArgumentType::unsigned_long},
    {"%zu", ArgumentType::unsigned_long}, {"%s", ArgumentType::text},
};

bool agree(const char* type_codes, const std::vector<Argument>& arguments) {
  for (const Argument& argument : arguments) {
    const TypeCode* found = nullptr;
    for (const TypeCode& candidate : kTypeCodes) {
      const std::size_t size = std::strlen(candidate.code);
      if (std::strncmp(type_codes, candidate.code, size) == 0) found = &candidate;
    }
    if (!found || found->type != argument.type) return false;
    type_codes += std::strlen(found->code);
  }
  return *type_codes == '\0';
}

// The form of a default stream in the classic locale, whatever locale the C library is set to:
// a decimal separator, of any length, is what is left when all that %g can write is taken away.
void append_real(string_type& out, double value) {
  char digits[64];
  const int size = std::snprintf(digits, sizeof digits, "%g", value);
  bool in_separator = false;
  for (int i = 0; i < size; ++i) {
    const bool kept = std::strchr("0123456789+-einfa", digits[i]) != nullptr;
    if (kept) out += digits[i];
    if (!kept && !in_separator) out += '.';
    in_separator = !kept;
  }
}

void append_value(string_type& out, const Argument& argument) {
  switch (argument.type) {
    case ArgumentType::real:
      append_real(out, argument.real);
      break;
    case ArgumentType::signed_int:
    case ArgumentType::signed_long:
      out += std::to_string(argument.integer);
      break;
    case ArgumentType::unsigned_int:
    case ArgumentType::unsigned_long:
      out += std::to_string(argument.natural);
      break;
    case ArgumentType::text:
      out += argument.text;
      break;
  }
}

// In the order of ArgumentType.
const char* const kTypeNames[] = {
    "double", "int", "unsigned int", "long long", "unsigned long long", "string"};

string_type raw_text(const char* fault, const Record& record) {
  string_type out = "[";
  out += fault;
  out += "; type codes \"" + record.type_codes + "\"; arguments: ";
  if (record.arguments.empty()) out += "none";
  const char* separator = "";
  for (const Argument& argument : record.arguments) {
    const char* const quote = argument.type == ArgumentType::text ? "\"" : "";
    out += separator;
    out += kTypeNames[static_cast<std::size_t>(argument.type)];
    out += " ";
    out += quote;
    append_value(out, argument);
    out += quote;
    separator = ", ";
  }
  out += "]";
  return out;
}

string_type fill_in(const char* pattern, const std::vector<Argument>& arguments) {
  string_type out;
  for (const char* p = pattern; *p; ++p) {
    if (*p == '%' && p[1] == '%') {
      out += *++p;
    } else if (*p == '%' && p[1] >= '1' && p[1] <= '9' &&
               static_cast<std::size_t>(p[1] - '1') < arguments.size()) {
      append_value(out, arguments[static_cast<std::size_t>(*++p - '1')]);
    } else {
      out += *p;
    }
  }
  return out;
}

string_type render(const Record& record) {
  const Message* const message = find_message(record.identifier);
  if (!message) return raw_text("message unknown to the catalogue", record);
  if (!agree(record.type_codes.c_str(), record.arguments) ||
      !agree(message->type_codes, record.arguments)) {
    return raw_text("arguments do not fit the message", record);
  }
  const char* text = find_text(current_language(), message->identifier);
  if (!text) text = find_text(kEnglish, message->identifier);
  if (!text) return raw_text("message without a text", record);
  return fill_in(text, record.arguments);
}

// A line of fixed size, cut off at its end, for when there is no memory left.
class FixedLine {
 public:
  FixedLine() noexcept : _size(0) {}

  void append(const char* text, std::size_t size) noexcept {
    const std::size_t room = sizeof _text - 1 - _size;
    if (size > room) size = room;
    std::memcpy(_text + _size, text, size);
    _size += size;
  }

  void end_and_write() noexcept {
    _text[_size++] = '\n';
    std::fwrite(_text, 1, _size, stderr);
  }

 private:
  char _text[1024];
  std::size_t _size;
};

// The number of bytes at `text` that are one control character or line separator of UTF-8:
// U+0000 to U+001F, U+007F to U+009F, U+2028, U+2029. 0 for anything else.
std::size_t unprintable(const unsigned char* text, std::size_t size) {
  if (text[0] < 0x20 || text[0] == 0x7F) return 1;
  if (size >= 2 && text[0] == 0xC2 && text[1] >= 0x80 && text[1] <= 0x9F) return 2;
  if (size >= 3 && text[0] == 0xE2 && text[1] == 0x80 && (text[2] == 0xA8 || text[2] == 0xA9)) {
    return 3;
  }
  return 0;
}

template <class Line>
void append_escaped_byte(Line& line, unsigned char byte) {
  const char* const hexadecimal = "0123456789abcdef";
  const char code[] = {'\\', 'x', hexadecimal[byte >> 4], hexadecimal[byte & 0xF]};
  if (byte == '\n') {
    line.append("\\n", 2);
  } else if (byte == '\r') {
    line.append("\\r", 2);
  } else if (byte == '\t') {
    line.append("\\t", 2);
  } else {
    line.append(code, sizeof code);
  }
}

template <class Line>
void append_escaped(Line& line, TextRef text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const unsigned char* const rest = reinterpret_cast<const unsigned char*>(text.data()) + i;
    const std::size_t escaped = unprintable(rest, text.size() - i);
    for (std::size_t k = 0; k < escaped; ++k) append_escaped_byte(line, rest[k]);
    if (escaped > 0) {
      i += escaped - 1;
    } else {
      if (*rest == '\\') line.append("\\", 1);
      line.append(text.data() + i, 1);
    }
  }
}

template <class Line>
void append_entry(Line& line, RQLogger::RQLogLevel level, TextRef identifier, TextRef function_name,
                  TextRef text) {
  const TextRef level_name = level == RQLogger::RQLogLevel::info ? "info " : "error ";
  line.append(level_name.data(), level_name.size());
  append_escaped(line, identifier);
  if (identifier.size() > 0) line.append(" ", 1);
  append_escaped(line, function_name);
  line.append(": ", 2);
  append_escaped(line, text);
}

void write_without_memory(RQLogger::RQLogLevel level, TextRef identifier, TextRef function_name,
                          TextRef text) noexcept {
  FixedLine line;
  append_entry(line, level, identifier, function_name, text);
  line.end_and_write();
}

void deliver(const Record& record) {
  if (!inside_sink) {
    const std::shared_ptr<const RQLogger::Sink> sink = current_sink();
    if (sink) {
      const InsideSink guard;
      try {
        (*sink)(record);
        return;
      } catch (...) {
        sink_failures.fetch_add(1, std::memory_order_relaxed);
      }
    }
  }
  RQLogger::WriteToStandardError(record);
}

string_type to_string(TextRef text) {
  return string_type(text.data(), text.size());
}

}  // namespace

void RQLogger::SetSink(Sink sink) {
  std::shared_ptr<const Sink> next;
  if (sink) next = std::make_shared<const Sink>(std::move(sink));
  SinkSlot& slot = sink_slot();
  const std::lock_guard<std::mutex> guard(slot.lock);
  slot.sink.swap(next);
}

unsigned long long RQLogger::SinkFailures() noexcept {
  return sink_failures.load(std::memory_order_relaxed);
}

void RQLogger::WriteToStandardError(const Record& record) noexcept {
  const ErrnoKeeper errno_keeper;
  try {
    string_type line;
    append_entry(line, record.level, record.identifier, record.function_name, record.text);
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
  } catch (...) {
    write_without_memory(record.level, record.identifier, record.function_name, record.text);
  }
}

bool RQLogger::SetLanguage(TextRef locale_name) noexcept {
  const LanguageEntry* const found =
      locale_name.size() == 0 ? find_language_of_environment() : find_language(locale_name);
  chosen_language.store(found ? found : &kEnglish, std::memory_order_release);
  return found != nullptr;
}

const char* RQLogger::Language() noexcept {
  return current_language().code;
}

std::vector<RQLogger::string_type> RQLogger::Languages() {
  std::vector<string_type> codes;
  for (const LanguageEntry& language : kLanguages) codes.push_back(language.code);
  return codes;
}

void RQLogger::Error(TextRef function_name, TextRef text) noexcept {
  const ErrnoKeeper errno_keeper;
  try {
    Record record = {"", RQLogLevel::error, to_string(function_name), "", {}, to_string(text)};
    deliver(record);
  } catch (...) {
    write_without_memory(RQLogLevel::error, "", function_name, text);
  }
}

void RQLogger::InfoMessage(TextRef function_name, TextRef message_id) noexcept {
  Log(function_name, RQLogLevel::info, message_id, "", nullptr, 0);
}

RQLogger::Argument RQLogger::ArgumentRef::Own() const {
  Argument argument = {_type, 0.0, 0, 0, string_type()};
  switch (_type) {
    case ArgumentType::real:
      argument.real = _value.real;
      break;
    case ArgumentType::signed_int:
    case ArgumentType::signed_long:
      argument.integer = _value.integer;
      break;
    case ArgumentType::unsigned_int:
    case ArgumentType::unsigned_long:
      argument.natural = _value.natural;
      break;
    case ArgumentType::text:
      argument.text = _value.text.convert(_value.text.source);
      break;
  }
  return argument;
}

RQLogger::string_type RQLogger::ArgumentRef::CopyChars(const void* text) {
  return to_string(static_cast<const char*>(text));
}

void RQLogger::Log(TextRef function_name, RQLogLevel level, TextRef message_id, TextRef type_codes,
                   const ArgumentRef* arguments, std::size_t count) noexcept {
  const ErrnoKeeper errno_keeper;
  try {
    Record record = {to_string(message_id), level, to_string(function_name), "", {}, ""};
    record.type_codes = to_string(type_codes);
    record.arguments.reserve(count);
    for (std::size_t i = 0; i < count; ++i) record.arguments.push_back(arguments[i].Own());
    record.text = render(record);
    deliver(record);
  } catch (...) {
    write_without_memory(level, message_id, function_name, "[message could not be composed]");
  }
}
