#include "tools/sim/scenario_parser.h"

#include <algorithm>

#include "tools/sim/scenario_forms.h"
#include "tools/sim/verb_table.h"
#include "tools/sim/word_forms.h"

namespace hubstore::sim {
namespace {

std::optional<std::string> checkArity(std::string_view verb,
                                      const Words& shape, std::size_t got) {
  const std::size_t max = shape.params.size();
  if (got >= shape.required && (shape.variadic || got <= max)) {
    return std::nullopt;
  }
  std::string count;
  if (shape.variadic) {
    count = "at least " + wordCount(shape.required);
  } else if (shape.required == max) {
    count = wordCount(max);
  } else {
    count = std::to_string(shape.required) + " or " + wordCount(max);
  }
  // Appended: see checkHook in scenario_forms.cpp.
  std::string message = "'";
  message.append(verb).append("' takes ").append(count).append(" (").append(synopsis(*findVerb(verb)));
  return message.append("), got ").append(std::to_string(got));
}

// Checks one word against its parameter; on failure returns what the word
// should have been.
std::optional<std::string> checkArg(const Param& param, const Word& word,
                                    Command& cmd) {
  constexpr std::string_view kStates =
      "unknown, mounting, mounted, unmounted or failed";
  switch (param.kind) {
    case Arg::Word:
      return std::nullopt;
    case Arg::Bool:
      if (isBool(word.text)) return std::nullopt;
      return std::string(kBoolDesc);
    case Arg::State:
      if (isMountState(word.text)) return std::nullopt;
      return "STATE (" + std::string(kStates) + ")";
    case Arg::EthernetAddress:
      if (isEthernetAddress(word.text)) return std::nullopt;
      return "SYS as an Ethernet address (xx:xx:xx:xx:xx:xx, "
             "xx-xx-xx-xx-xx-xx or xxxx.xxxx.xxxx)";
    case Arg::U32:
      if (isU32(word.text)) return std::nullopt;
      return "N as " + std::string(kU32Desc);
    case Arg::RecordType:
      if (auto type = qualifiedRecordType(word.text)) {
        cmd.scalar = *type;
        return std::nullopt;
      }
      return "TYPE, one of Hubstore::Status, Controller::ServiceMountConfig, "
             "Controller::ServiceMountStatus, Controller::ServicePublishConfig "
             "or Controller::ServicePublishStatus (namespace optional)";
    case Arg::Levels:
      if (parseTraceLevels(word.text)) return std::nullopt;
      return "LEVELS (levels 0-9 as a comma list of levels and ranges, e.g. "
             "5,7 or 0-8) or off";
    case Arg::LeaderGenId:
      if (auto kv = splitAssignment(word); kv && kv->first == "leaderGenId") {
        cmd.fields.push_back(std::move(*kv));
        return std::nullopt;
      }
      return "leaderGenId=ID";
    case Arg::GroupState:
      if (auto kv = splitAssignment(word); kv && isMountState(kv->second)) {
        cmd.fields.push_back(std::move(*kv));
        return std::nullopt;
      }
      return "G=STATE after SYS, STATE one of " + std::string(kStates);
    case Arg::CommandName:
      if (findVerb(word.text)) return std::nullopt;
      return "the name of a command";
  }
  return std::nullopt;
}

std::optional<std::string> parseWords(const Words& shape,
                                      std::span<const Word> words,
                                      Command& cmd) {
  if (auto error = checkArity(cmd.verb, shape, words.size())) return error;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const Param& param = shape.params[std::min(i, shape.params.size() - 1)];
    if (auto want = checkArg(param, words[i], cmd)) {
      return "'" + cmd.verb + "' takes " + *want + ", got '" + words[i].raw +
             "'";
    }
    cmd.args.push_back(words[i].text);
  }
  return std::nullopt;
}

}  // namespace

std::string wordCount(std::size_t n) {
  if (n == 0) return "no words";
  return std::to_string(n) + (n == 1 ? " word" : " words");
}

std::optional<std::string> parseCommand(std::span<const Word> words,
                                        Command& cmd) {
  cmd.verb = words[0].text;
  const auto rest = words.subspan(1);
  cmd.definition = findVerb(cmd.verb);
  if (!cmd.definition) return "unknown command '" + words[0].raw + "'";
  const Words& shape = cmd.definition->words;
  if (shape.parser) return shape.parser(rest, cmd);
  return parseWords(shape, rest, cmd);
}


std::string repeatedCommandError(const Command& command, std::string_view message) {
  return "in '" + command.source + "' (" + command.bindings + "): " + std::string(message);
}

ParseResult parseScenario(std::string_view fileName, std::string_view text, int firstLine) {
  ParseResult result;
  int lineNo = firstLine - 1;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view{}
                                         : text.substr(end + 1);
    ++lineNo;

    std::vector<Word> words;
    Command cmd;
    cmd.file = fileName;
    cmd.line = lineNo;
    auto error = lexLine(line, words);
    if (!error && words.empty()) continue;
    if (!error) {
      cmd.source = joinRaw(words);
      error = parseCommand(words, cmd);
    }
    if (error) {
      result.errors.push_back(std::string(fileName) + ":" +
                              std::to_string(lineNo) + ": error: " + *error);
    } else {
      result.commands.push_back(std::move(cmd));
    }
  }
  return result;
}


std::string quoteIfNeeded(std::string_view text) {
  // Inside a path or a NAME=VALUE word these mark structure too.
  const bool structure = text.find_first_of("=[]") != std::string_view::npos;
  return structure ? quoted(text) : quoteWord(text);
}

std::string formatConfigPath(const ConfigPath& path) {
  std::string out;
  for (const ConfigSegment& seg : path) {
    if (!out.empty()) out += '.';
    out += seg.attribute;
    if (seg.key) {
      out += '[';
      out += quoteIfNeeded(*seg.key);
      out += ']';
    }
  }
  return out;
}

}  // namespace hubstore::sim
