#pragma once
// What a `repeat` line stands for: its loops and the words of the command it
// repeats, expanded one command at a time as the run reaches it, so that a
// fleet of 10,000 switches costs one line and not 10,000 parsed commands.
//
//   repeat [VAR=]N COMMAND ...          VAR (default i) from 0 to N-1
//   repeat [VAR=]FROM..TO COMMAND ...   from FROM to TO, both included, up or down
//
// COMMAND may be a repeat itself, with a variable of its own: its loop runs
// inside. In the words of COMMAND unquoted braces expand:
//
//   {VAR}           the value in decimal                       {i}          -> 42
//   {VAR:000}       decimal, zero-padded to as many digits     g{g:00}      -> g07
//   {VAR:xx:xx:xx}  hexadecimal, zero-padded into the x's,     {i:xx:xx:xx} -> 00:00:2a
//                   the `:`, `-` or `.` between them kept
//   {FROM..TO}      the word once per number, as a shell's      g{1..3}=up   -> g1=up g2=up g3=up
//                   brace expansion does; zero-padded when an   g{01..12}    -> g01 ... g12
//                   end is written with a leading 0
//
// A quoted brace is a brace. Everything that can be wrong with the braces is
// found by parse(), before anything runs; a value too large for its format
// too, since each loop's range is known.
//
//   Repetition r;
//   if (auto error = Repetition::parse(wordsAfterRepeat, r)) ...;
//   r.forEach([](std::span<const Word> words, const Repetition::Values& values) {
//     ...;  // one command's words, e.g. mountState 00:1c:73:00:00:2a g07 mounted
//     return true;  // false stops
//   });

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/sim/scenario_words.h"

namespace hubstore::sim {

class Repetition {
 public:
  static constexpr std::string_view kSynopsis = "repeat [VAR=]N|FROM..TO COMMAND ...";
  // The most words that one command may expand to.
  static constexpr std::uint64_t kMaxWords = 10000;
  // One value per loop, the outermost first.
  using Values = std::vector<std::uint32_t>;
  using Visit = std::function<bool(std::span<const Word> words, const Values& values)>;

  // Reads the words after the verb `repeat` into `out`; returns the error.
  static std::optional<std::string> parse(std::span<const Word> words, Repetition& out);

  // Every loop at its first value, or at its last. A loop that runs no time
  // still has a value here (0), so that its command can be checked.
  Values firstValues() const;
  Values lastValues() const;

  // The command's words at `values`, into `words` (whose buffers are reused).
  void expand(const Values& values, std::vector<Word>& words) const;
  // The variables and their values, e.g. "i=42, g=7".
  std::string bindings(const Values& values) const;
  // Calls `visit` with each command's words in order, the innermost loop
  // stepping first, until it returns false.
  void forEach(const Visit& visit) const;

 private:
  struct Loop {
    std::string variable;
    std::uint32_t first = 0;
    std::uint32_t last = 0;
    std::uint64_t count = 0;
  };
  // How a variable's value is written.
  struct Format {
    enum class Base { Decimal, Hexadecimal } base = Base::Decimal;
    std::size_t digits = 0;  // zero-padded to this many; 0: as many as it takes
    std::string picture;     // hexadecimal: the x's with their separators
  };
  // A stretch of a word: text as written, a variable's value, or a range.
  struct Piece {
    enum class Kind { Text, Value, Range } kind = Kind::Text;
    std::string raw;          // Text
    std::string text;         // Text
    std::vector<Char> chars;  // Text
    std::size_t loop = 0;     // Value
    Format format;            // Value
    std::uint32_t from = 0;   // Range
    std::uint32_t to = 0;     // Range
    std::size_t width = 0;    // Range: zero-padded to this many digits
  };
  struct Template {
    std::vector<Piece> pieces;
  };

  std::optional<std::string> parseWord(const Word& word, Template& out) const;
  std::optional<std::string> parseBraces(std::string_view inside, Piece& out) const;
  static std::string formatValue(std::uint32_t value, const Format& format);
  // Appends the words that `word` expands to at `values`.
  void expandWord(const Template& word, const Values& values, std::vector<Word>& words,
                  std::size_t& used) const;

  std::vector<Loop> loops_;
  std::vector<Template> words_;
};

}  // namespace hubstore::sim
