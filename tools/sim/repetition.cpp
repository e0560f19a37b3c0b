#include "tools/sim/repetition.h"

#include <algorithm>
#include <limits>

namespace hubstore::sim {
namespace {

constexpr std::string_view kNumbers = "numbers from 0 to 4294967295";

std::optional<std::uint32_t> number(std::string_view text) {
  if (text.empty() || text.size() > 10) return std::nullopt;
  std::uint64_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + static_cast<unsigned>(c - '0');
  }
  if (value > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return static_cast<std::uint32_t>(value);
}

bool isVariableName(std::string_view text) {
  auto letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; };
  if (text.empty() || !letter(text[0])) return false;
  return std::all_of(text.begin(), text.end(), [&](char c) { return letter(c) || (c >= '0' && c <= '9'); });
}

// x's in groups, one separator between groups: xx:xx:xx, xxxx.xxxx, xxx.
bool isHexPicture(std::string_view picture) {
  bool afterX = false;
  for (const char c : picture) {
    if (c == 'x') {
      afterX = true;
    } else if ((c == ':' || c == '-' || c == '.') && afterX) {
      afterX = false;
    } else {
      return false;
    }
  }
  return afterX;
}

// The largest value that `digits` digits of `base` hold, or no limit for a
// u32.
std::uint64_t capacity(std::uint64_t base, std::size_t digits) {
  std::uint64_t most = 1;
  for (std::size_t i = 0; i < digits && most <= std::numeric_limits<std::uint32_t>::max(); ++i) most *= base;
  return most - 1;
}

std::uint64_t saturatingProduct(std::uint64_t a, std::uint64_t b) {
  if (a != 0 && b > std::numeric_limits<std::uint64_t>::max() / a) return std::numeric_limits<std::uint64_t>::max();
  return a * b;
}

}  // namespace

std::optional<std::string> Repetition::parse(std::span<const Word> words, Repetition& out) {
  out = Repetition{};
  std::size_t at = 0;
  // A COMMAND that is a repeat itself adds a loop inside.
  while (true) {
    const std::size_t left = words.size() - at;
    if (left < 2) {
      return "'repeat' takes at least 2 words (" + std::string(kSynopsis) + "), got " + std::to_string(left);
    }
    const Word& range = words[at];
    std::string_view text = range.text;
    Loop loop{"i"};
    if (const std::size_t equals = text.find('='); equals != std::string_view::npos) {
      loop.variable = text.substr(0, equals);
      text.remove_prefix(equals + 1);
    }
    const std::size_t dots = text.find("..");
    const auto from = number(dots == std::string_view::npos ? text : text.substr(0, dots));
    const auto to = dots == std::string_view::npos ? from : number(text.substr(dots + 2));
    if (!isVariableName(loop.variable) || !from || !to) {
      return "'repeat' takes [VAR=]N or [VAR=]FROM..TO (VAR a name, N, FROM and TO " + std::string(kNumbers) +
             "), got '" + range.raw + "'";
    }
    if (dots == std::string_view::npos) {
      loop.count = *from;
      loop.last = *from == 0 ? 0 : *from - 1;
    } else {
      loop.first = *from;
      loop.last = *to;
      loop.count = (*from <= *to ? std::uint64_t{*to} - *from : std::uint64_t{*from} - *to) + 1;
    }
    for (const Loop& outer : out.loops_) {
      if (outer.variable == loop.variable) {
        return "'repeat' inside a repeat of " + loop.variable + " needs a variable of its own, e.g. j=" +
               std::string(text);
      }
    }
    out.loops_.push_back(std::move(loop));
    ++at;
    if (words[at].text != "repeat") break;
    ++at;
  }
  std::uint64_t expandedWords = 0;
  for (const Word& word : words.subspan(at)) {
    Template& parsed = out.words_.emplace_back();
    if (auto error = out.parseWord(word, parsed)) return error;
    std::uint64_t copies = 1;
    for (const Piece& piece : parsed.pieces) {
      if (piece.kind != Piece::Kind::Range) continue;
      const std::uint64_t numbers = (piece.from <= piece.to ? piece.to - piece.from : piece.from - piece.to) + 1ull;
      copies = saturatingProduct(copies, numbers);
    }
    expandedWords = std::min(expandedWords + std::min(copies, kMaxWords + 1), kMaxWords + 1);
  }
  if (expandedWords > kMaxWords) {
    return "the command of 'repeat' expands to more than " + std::to_string(kMaxWords) + " words";
  }
  return std::nullopt;
}

std::optional<std::string> Repetition::parseWord(const Word& word, Template& out) const {
  // Reads the word as the lexer did (quotes, escapes), with the braces outside
  // quotes cut out as pieces of their own.
  const std::string& raw = word.raw;
  Piece text;
  auto endText = [&] {
    if (text.raw.empty()) return;
    text.text = textOf(text.chars);
    out.pieces.push_back(std::move(text));
    text = Piece{};
  };
  std::size_t i = 0;
  while (i < raw.size()) {
    if (raw[i] == '"') {
      const std::size_t open = i++;
      const std::size_t before = text.chars.size();
      while (raw[i] != '"') {  // the lexer saw it closed
        if (raw[i] == '\\' && (raw[i + 1] == '"' || raw[i + 1] == '\\')) ++i;
        text.chars.push_back({raw[i++], true, false});
      }
      ++i;
      if (text.chars.size() == before) text.chars.push_back({'\0', true, true});
      text.raw.append(raw, open, i - open);
      continue;
    }
    if (raw[i] == '{') {
      const std::size_t close = raw.find_first_of("}\"", i);
      if (close == std::string::npos || raw[close] != '}') {
        return "'{' without its '}' in '" + raw + "' (quote a brace that stands for itself)";
      }
      Piece braces;
      if (auto error = parseBraces(std::string_view(raw).substr(i + 1, close - i - 1), braces)) {
        std::string message = "'";
        message.append(raw, i, close - i + 1).append("' ").append(*error);
        return message;
      }
      endText();
      out.pieces.push_back(std::move(braces));
      i = close + 1;
      continue;
    }
    text.chars.push_back({raw[i], false, false});
    text.raw += raw[i++];
  }
  endText();
  return std::nullopt;
}

std::optional<std::string> Repetition::parseBraces(std::string_view inside, Piece& out) const {
  if (const std::size_t dots = inside.find(".."); dots != std::string_view::npos) {
    const std::string_view from = inside.substr(0, dots);
    const std::string_view to = inside.substr(dots + 2);
    const auto first = number(from);
    const auto last = number(to);
    if (!first || !last) return "is a range {FROM..TO} whose ends are not " + std::string(kNumbers);
    out.kind = Piece::Kind::Range;
    out.from = *first;
    out.to = *last;
    const bool padded = (from.size() > 1 && from[0] == '0') || (to.size() > 1 && to[0] == '0');
    out.width = padded ? std::max(from.size(), to.size()) : 0;
    return std::nullopt;
  }
  const std::size_t colon = inside.find(':');
  const std::string_view name = inside.substr(0, colon);
  if (!isVariableName(name)) {
    return "is neither {VAR}, {VAR:FORMAT} nor {FROM..TO} (quote a brace that stands for itself)";
  }
  const auto loop = std::find_if(loops_.begin(), loops_.end(), [&](const Loop& l) { return l.variable == name; });
  if (loop == loops_.end()) {
    std::string variables;
    for (const Loop& l : loops_) variables += (variables.empty() ? "" : ", ") + l.variable;
    return "names no variable of its repeat (" + variables + ")";
  }
  out.kind = Piece::Kind::Value;
  out.loop = static_cast<std::size_t>(loop - loops_.begin());
  if (colon == std::string_view::npos) return std::nullopt;
  const std::string_view picture = inside.substr(colon + 1);
  std::uint64_t most;
  if (!picture.empty() && picture.find_first_not_of('0') == std::string_view::npos) {
    out.format.digits = picture.size();
    most = capacity(10, picture.size());
  } else if (isHexPicture(picture)) {
    out.format.base = Format::Base::Hexadecimal;
    out.format.digits = static_cast<std::size_t>(std::count(picture.begin(), picture.end(), 'x'));
    out.format.picture = picture;
    most = capacity(16, out.format.digits);
  } else {
    return "has no FORMAT of a variable: 0s for a zero-padded decimal ({" + std::string(name) +
           ":000}), or x's with : - or . between for hexadecimal ({" + std::string(name) + ":xx:xx:xx})";
  }
  const std::uint32_t largest = std::max(loop->first, loop->last);
  if (largest > most) {
    return "holds numbers up to " + std::to_string(most) + ", and " + loop->variable + " goes up to " +
           std::to_string(largest);
  }
  return std::nullopt;
}

std::string Repetition::formatValue(std::uint32_t value, const Format& format) {
  if (format.base == Format::Base::Decimal) {
    std::string text = std::to_string(value);
    if (text.size() < format.digits) text.insert(0, format.digits - text.size(), '0');
    return text;
  }
  static constexpr char kHex[] = "0123456789abcdef";
  std::string text = format.picture;
  // The picture's x's from the right, the value's digits from the lowest.
  for (auto c = text.rbegin(); c != text.rend(); ++c) {
    if (*c != 'x') continue;
    *c = kHex[value & 0xf];
    value >>= 4;
  }
  return text;
}

Repetition::Values Repetition::firstValues() const {
  Values values;
  for (const Loop& loop : loops_) values.push_back(loop.first);
  return values;
}

Repetition::Values Repetition::lastValues() const {
  Values values;
  for (const Loop& loop : loops_) values.push_back(loop.last);
  return values;
}

void Repetition::expand(const Values& values, std::vector<Word>& words) const {
  std::size_t used = 0;
  for (const Template& word : words_) expandWord(word, values, words, used);
  words.resize(used);
}

void Repetition::expandWord(const Template& word, const Values& values, std::vector<Word>& words,
                            std::size_t& used) const {
  // The word's ranges at their current numbers; the rightmost steps first.
  struct RangeAt {
    const Piece* range;
    std::uint32_t number;
  };
  std::vector<RangeAt> ranges;
  for (const Piece& piece : word.pieces) {
    if (piece.kind == Piece::Kind::Range) ranges.push_back({&piece, piece.from});
  }
  while (true) {
    if (used == words.size()) words.emplace_back();
    Word& out = words[used++];
    out.raw.clear();
    out.text.clear();
    out.chars.clear();
    std::size_t range = 0;
    for (const Piece& piece : word.pieces) {
      if (piece.kind == Piece::Kind::Text) {
        out.raw += piece.raw;
        out.text += piece.text;
        out.chars.insert(out.chars.end(), piece.chars.begin(), piece.chars.end());
        continue;
      }
      const std::string number = piece.kind == Piece::Kind::Value
                                     ? formatValue(values[piece.loop], piece.format)
                                     : formatValue(ranges[range++].number, {Format::Base::Decimal, piece.width, {}});
      out.raw += number;
      out.text += number;
      for (const char c : number) out.chars.push_back({c, false, false});
    }
    std::size_t k = ranges.size();
    while (true) {
      if (k == 0) return;
      RangeAt& at = ranges[--k];
      if (at.number != at.range->to) {
        at.range->from <= at.range->to ? ++at.number : --at.number;
        break;
      }
      at.number = at.range->from;
    }
  }
}

std::string Repetition::bindings(const Values& values) const {
  std::string out;
  for (std::size_t k = 0; k < loops_.size(); ++k) {
    if (k > 0) out += ", ";
    out += loops_[k].variable + "=" + std::to_string(values[k]);
  }
  return out;
}

void Repetition::forEach(const Visit& visit) const {
  for (const Loop& loop : loops_) {
    if (loop.count == 0) return;
  }
  Values values = firstValues();
  std::vector<Word> words;
  while (true) {
    expand(values, words);
    if (!visit(words, values)) return;
    std::size_t k = loops_.size();
    while (true) {
      if (k == 0) return;
      --k;
      if (values[k] != loops_[k].last) {
        loops_[k].first <= loops_[k].last ? ++values[k] : --values[k];
        break;
      }
      values[k] = loops_[k].first;
    }
  }
}

}  // namespace hubstore::sim
