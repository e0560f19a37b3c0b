#include "tools/sim/scenario_words.h"

namespace hubstore::sim {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }

std::string textOf(std::span<const Char> chars) {
  std::string out;
  for (const Char& ch : chars) {
    if (!ch.emptyQuotes) out += ch.c;
  }
  return out;
}

std::optional<std::string> lexLine(std::string_view line, std::vector<Word>& words) {
  std::size_t i = 0;
  const std::size_t n = line.size();
  while (true) {
    while (i < n && isBlank(line[i])) ++i;
    if (i == n || line[i] == '#') return std::nullopt;
    Word word;
    const std::size_t start = i;
    while (i < n && !isBlank(line[i])) {
      if (line[i] != '"') {
        word.chars.push_back({line[i++], false, false});
        continue;
      }
      const std::size_t open = i++;
      const std::size_t before = word.chars.size();
      bool closed = false;
      while (i < n) {
        if (line[i] == '"') {
          closed = true;
          ++i;
          break;
        }
        if (line[i] == '\\' && i + 1 < n && (line[i + 1] == '"' || line[i + 1] == '\\')) {
          ++i;
        }
        word.chars.push_back({line[i++], true, false});
      }
      if (!closed) {
        return "unterminated quote: " + std::string(line.substr(open));
      }
      if (word.chars.size() == before) word.chars.push_back({'\0', true, true});
    }
    word.raw = line.substr(start, i - start);
    word.text = textOf(word.chars);
    words.push_back(std::move(word));
  }
}

std::string joinRaw(std::span<const Word> words) {
  std::string out;
  for (const Word& w : words) {
    if (!out.empty()) out += ' ';
    out += w.raw;
  }
  return out;
}

std::string quoteWord(std::string_view text) {
  // A leading '#' would read back as a comment.
  bool needed = text.empty() || text.front() == '#';
  for (char c : text) needed = needed || isBlank(c) || c == '\n' || c == '"' || c == '\\';
  return needed ? quoted(text) : std::string(text);
}

std::string quoted(std::string_view text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + '"';
}

}  // namespace hubstore::sim
