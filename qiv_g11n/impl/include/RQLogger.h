#ifndef QIV_G11N_RQLOGGER_H
#define QIV_G11N_RQLOGGER_H

#include <cstddef>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#if !defined(QIV_G11N_API)
#if defined(__GNUC__)
#define QIV_G11N_API __attribute__((visibility("default")))
#else
#define QIV_G11N_API
#endif
#endif

/// The message log: entries named by an identifier of the catalogue, or of free text, go to one
/// sink, which is the standard error stream until the host replaces it.
///
/// Every function may be called from any thread at any time, static initialisation and exit
/// included. No logging function throws, changes `errno`, or depends on the locale set by
/// `setlocale` or `std::locale::global`. Texts are UTF-8.
class RQLogger {
 public:
  /// The string type of `%s` arguments.
  typedef std::string string_type;

  enum class RQLogLevel : int { info = 0, error = 1 };

  /// What an argument is, with the type code that announces it.
  enum class ArgumentType : int {
    real,           ///< `double`: %e, %f, %g
    signed_int,     ///< `int`: %d, %i
    unsigned_int,   ///< `unsigned int`: %u
    signed_long,    ///< `long long`, `long`: %lld, %ld
    unsigned_long,  ///< `unsigned long long`, `unsigned long`: %llu, %lu, %zu
    text            ///< `string_type`: %s
  };

  /// One argument of an entry. `type` tells which of the other members is set.
  struct Argument {
    ArgumentType type;
    double real;                 ///< for `real`
    long long integer;           ///< for `signed_int` and `signed_long`
    unsigned long long natural;  ///< for `unsigned_int` and `unsigned_long`
    string_type text;            ///< for `text`
  };

  /// One entry of the log; it owns all that it holds.
  struct Record {
    string_type identifier;  ///< five letters, four digits, severity E or I; empty for free text
    RQLogLevel level;
    string_type function_name;        ///< "Class::method"
    string_type type_codes;           ///< as given by the caller, "%lld%u"
    std::vector<Argument> arguments;  ///< in the caller's order
    string_type text;                 ///< in the language in force; may hold line feeds
  };

  /// Takes the entries. It is called on the thread that logs, without a lock of this module, and
  /// so by several threads at once if several log at once. It may throw, log, or replace the sink:
  /// - when it throws, the exception ends here, the default sink writes the entry, and
  ///   `SinkFailures` counts one more;
  /// - an entry logged from within a sink goes to the default sink.
  typedef std::function<void(const Record&)> Sink;

  /// Replaces the sink; an empty one brings the default sink back. Calls of the old sink that are
  /// under way on other threads go on after this returns: the old sink is destroyed when the last
  /// of them ends. The sink in force at exit is never destroyed.
  /// Throws `std::bad_alloc`, and then the old sink stays.
  QIV_G11N_API static void SetSink(Sink sink);

  /// The number of entries for which a replaced sink threw, since the process began.
  QIV_G11N_API static unsigned long long SinkFailures() noexcept;

  /// The default sink: one line "level identifier function: text" in one write to the standard
  /// error stream, without the identifier for free text. A line feed is written as \n, a
  /// backslash as \\, other control characters and line separators as \t, \r or \xNN a byte.
  QIV_G11N_API static void WriteToStandardError(const Record& record) noexcept;

  /// A borrowed string, valid while its source is. A null pointer is the empty string.
  class TextRef {
   public:
    TextRef(const char* text) noexcept
        : _data(text ? text : ""), _size(text ? std::char_traits<char>::length(text) : 0) {}
    TextRef(const string_type& text) noexcept : _data(text.data()), _size(text.size()) {}

    const char* data() const noexcept { return _data; }
    std::size_t size() const noexcept { return _size; }

   private:
    const char* _data;
    std::size_t _size;
  };

  /// Chooses the language by a locale name such as "de_AT.UTF-8" or "fr": the catalogue of the
  /// language with the territory if there is one, else of the language, else English. "C" and
  /// "POSIX" mean English. "" means the environment's: the first of LC_ALL, LC_MESSAGES and LANG
  /// that is set and not empty, which is also what holds from the first message on if nothing
  /// was chosen. A message that a language lacks appears in English.
  /// Returns false where there is no such catalogue and English was put in its place.
  QIV_G11N_API static bool SetLanguage(TextRef locale_name) noexcept;

  /// The code of the language in force, such as "en"; the string lives as long as the process.
  QIV_G11N_API static const char* Language() noexcept;

  /// The codes of all languages of the catalogue, English first.
  QIV_G11N_API static std::vector<string_type> Languages();

  /// Logs a free text at level error, without identifier.
  QIV_G11N_API static void Error(TextRef function_name, TextRef text) noexcept;

  /// Logs a message without arguments at level info.
  QIV_G11N_API static void InfoMessage(TextRef function_name, TextRef message_id) noexcept;

  /// A borrowed argument, as packed by `RQLogV`: numbers by value, strings by reference. Narrower
  /// arithmetic types are promoted as for `printf`; a null `const char*` is the empty string; a
  /// class from which a `string_type` can be made is converted when the entry is composed.
  class ArgumentRef {
   public:
    ArgumentRef(double value) noexcept : _type(ArgumentType::real) { _value.real = value; }
    ArgumentRef(long double value) noexcept : ArgumentRef(static_cast<double>(value)) {}
    ArgumentRef(int value) noexcept : ArgumentRef(ArgumentType::signed_int, value) {}
    ArgumentRef(long value) noexcept : ArgumentRef(ArgumentType::signed_long, value) {}
    ArgumentRef(long long value) noexcept : ArgumentRef(ArgumentType::signed_long, value) {}
    ArgumentRef(unsigned value) noexcept : _type(ArgumentType::unsigned_int) {
      _value.natural = value;
    }
    ArgumentRef(unsigned long value) noexcept
        : ArgumentRef(static_cast<unsigned long long>(value)) {}
    ArgumentRef(unsigned long long value) noexcept : _type(ArgumentType::unsigned_long) {
      _value.natural = value;
    }
    ArgumentRef(const char* text) noexcept : ArgumentRef(text, CopyChars) {}
    ArgumentRef(const string_type& text) noexcept : ArgumentRef(&text, Convert<string_type>) {}
    template <class T, class = typename std::enable_if<
                           std::is_class<T>::value && !std::is_base_of<string_type, T>::value &&
                           std::is_constructible<string_type, const T&>::value>::type>
    ArgumentRef(const T& text) noexcept : ArgumentRef(&text, Convert<T>) {}

    /// Throws what making the string throws.
    QIV_G11N_API Argument Own() const;

   private:
    typedef string_type (*Conversion)(const void* text);

    ArgumentRef(ArgumentType type, long long value) noexcept : _type(type) {
      _value.integer = value;
    }
    ArgumentRef(const void* text, Conversion convert) noexcept : _type(ArgumentType::text) {
      _value.text.source = text;
      _value.text.convert = convert;
    }

    QIV_G11N_API static string_type CopyChars(const void* text);
    template <class T>
    static string_type Convert(const void* text) {
      return string_type(*static_cast<const T*>(text));
    }

    ArgumentType _type;
    union {
      double real;
      long long integer;
      unsigned long long natural;
      struct {
        const void* source;
        Conversion convert;
      } text;
    } _value;
  };

  /// What `RQLogV` calls with its arguments packed. Where the identifier is unknown to the
  /// catalogue, or the arguments are not of the types that `type_codes` and the catalogue state,
  /// the text says so and lists the arguments with their types.
  QIV_G11N_API static void Log(TextRef function_name, RQLogLevel level, TextRef message_id,
                               TextRef type_codes, const ArgumentRef* arguments,
                               std::size_t count) noexcept;
};

/// Logs the message `message_id` of the catalogue. `type_codes` describes the arguments as a
/// format of `printf` would, without blanks: %e `double`, %d `int`, %u `unsigned int`,
/// %lld `long long`, %s `RQLogger::string_type`.
template <class... Args>
void RQLogV(RQLogger::TextRef function_name, RQLogger::RQLogLevel level,
            RQLogger::TextRef message_id, RQLogger::TextRef type_codes,
            const Args&... args) noexcept {
  const RQLogger::ArgumentRef packed[] = {RQLogger::ArgumentRef(args)..., RQLogger::ArgumentRef(0)};
  RQLogger::Log(function_name, level, message_id, type_codes, packed, sizeof...(args));
}

#endif
