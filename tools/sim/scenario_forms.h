#pragma once
// The parser's pieces that the verb table names: the parsers of the verbs
// whose words depend on one another (Words::parser), and the parse of one
// line that `when` and `repeat` run again on the command they carry.

#include <optional>
#include <span>
#include <string>

#include "tools/sim/scenario_parser.h"
#include "tools/sim/scenario_words.h"

namespace hubstore::sim {

// Parses the words of one line into cmd; returns the error if there is one.
std::optional<std::string> parseCommand(std::span<const Word> words, Command& cmd);

// "no words", "1 word", "3 words"
std::string wordCount(std::size_t n);

// mounter M [default | counting | throwing HOOK]
std::optional<std::string> parseMounter(std::span<const Word> words, Command& cmd);
// when M HOOK G|* COMMAND ...
std::optional<std::string> parseWhen(std::span<const Word> words, Command& cmd);
// repeat [VAR=]RANGE COMMAND ...
std::optional<std::string> parseRepeat(std::span<const Word> words, Command& cmd);
// set LHS = VALUE, unset LHS (config_lines.cpp)
std::optional<std::string> parseSetOrUnset(std::span<const Word> words, Command& cmd);

}  // namespace hubstore::sim
