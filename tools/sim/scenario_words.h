#pragma once
// The words of a scenario line, as the parser and the expansion of `repeat`
// lines read them.
//
// Blanks (space, tab, CR, VT, FF) separate words; `#` opens a comment where a
// word begins. Double quotes may sit anywhere in a word and only stop blanks
// and `#` from acting; inside quotes `\"` and `\\` are escapes and any other
// backslash is kept as written. Each character remembers whether it was
// quoted, so that where a word has structure (a path's `.`, `[`, `]`, the `=`
// of NAME=VALUE, the braces of a repeat) only unquoted characters count.
//
//   std::vector<Word> words;
//   if (auto error = lexLine(R"(echo "a b" c)", words)) ...;  // words: echo, a b, c

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace hubstore::sim {

// One character of a word with whether it was written inside quotes. An empty
// quoted pair leaves a marker with no character, so that `[""]` (the empty
// key) differs from `[]` (a forgotten key).
struct Char {
  char c;
  bool quoted;
  bool emptyQuotes;
};

struct Word {
  std::string raw;   // as written, for messages
  std::string text;  // quotes removed
  std::vector<Char> chars;
};

bool isBlank(char c);

// The text of `chars`, the markers of empty quotes left out.
std::string textOf(std::span<const Char> chars);

// Splits one line into words, appended to `words`; returns the error when the
// line cannot be split.
std::optional<std::string> lexLine(std::string_view line, std::vector<Word>& words);

// The words as written, one blank between them.
std::string joinRaw(std::span<const Word> words);

// `text` as a scenario writes it as one word: as it stands, or in double
// quotes when it is empty, begins with `#`, or holds a blank, a line break,
// `"` or `\`, with `"` and `\` escaped inside. lexLine() reads it back as
// `text`, one with a line break excepted (a scenario line cannot hold one).
std::string quoteWord(std::string_view text);
// `text` in double quotes, `"` and `\` escaped.
std::string quoted(std::string_view text);

}  // namespace hubstore::sim
