#include "tools/sim/scenario_forms.h"

#include <memory>

#include "tools/sim/repetition.h"
#include "tools/sim/verb_table.h"

namespace hubstore::sim {
namespace {

std::optional<std::string> checkHook(std::string_view verb, const Word& word,
                                     Command& cmd) {
  cmd.hook = mounterHookFromName(word.text);
  if (cmd.hook) return std::nullopt;
  // Appended, not concatenated from a literal: GCC 12 at -O3 warns
  // (-Wrestrict) about a string made by "literal" + std::string.
  std::string message = "'";
  message.append(verb).append("' takes HOOK (").append(kMounterHookNames[0]).append(", ");
  message.append(kMounterHookNames[1]).append(" or ").append(kMounterHookNames[2]).append("), got '");
  return message.append(word.raw).append("'");
}

// A command of a repeat at `values`, parsed into `cmd`; returns the error.
std::optional<std::string> parseRepeated(const Repetition& repetition, std::span<const Word> words,
                                         const Repetition::Values& values, Command& cmd) {
  cmd.source = joinRaw(words);
  cmd.bindings = repetition.bindings(values);
  if (auto error = parseCommand(words, cmd)) return repeatedCommandError(cmd, *error);
  return std::nullopt;
}

}  // namespace

// mounter M, mounter M default, mounter M counting, mounter M throwing HOOK
std::optional<std::string> parseMounter(std::span<const Word> words,
                                        Command& cmd) {
  if (words.empty() || words.size() > 3) {
    return "'mounter' takes 1 to 3 words (" + synopsis(*findVerb("mounter")) + "), got " +
           std::to_string(words.size());
  }
  for (const Word& word : words) cmd.args.push_back(word.text);
  const auto rest = words.subspan(1);
  if (rest.empty() || (rest.size() == 1 && (rest[0].text == "default" || rest[0].text == "counting"))) {
    return std::nullopt;
  }
  if (rest.size() == 2 && rest[0].text == "throwing") {
    return checkHook("mounter", rest[1], cmd);
  }
  return "'mounter' takes 'default', 'counting' or 'throwing HOOK' after M, got '" +
         joinRaw(rest) + "'";
}

// when M HOOK G COMMAND...: COMMAND is checked as a line of its own.
std::optional<std::string> parseWhen(std::span<const Word> words,
                                     Command& cmd) {
  if (words.size() < 4) {
    return "'when' takes at least 4 words (" + synopsis(*findVerb("when")) + "), got " +
           std::to_string(words.size());
  }
  if (auto error = checkHook("when", words[1], cmd)) return error;
  for (const Word& word : words.first(3)) cmd.args.push_back(word.text);
  const auto command = words.subspan(3);
  const Verb* verb = findVerb(command[0].text);
  if (verb && !verb->hookMayRun) {
    return "a hook runs an agent or mount machinery command, not '" +
           command[0].raw + "'";
  }
  auto action = std::make_shared<Command>();
  action->file = cmd.file;
  action->line = cmd.line;
  action->bindings = cmd.bindings;
  action->source = joinRaw(command);
  if (auto error = parseCommand(command, *action)) {
    return "in the command of 'when': " + *error;
  }
  cmd.action = std::move(action);
  return std::nullopt;
}

// repeat [VAR=]RANGE COMMAND...: COMMAND is checked at its first and last
// values. A value's text grows with the value, so a form that holds at both
// ends holds between them (the word counts do not depend on the values).
std::optional<std::string> parseRepeat(std::span<const Word> words, Command& cmd) {
  auto repetition = std::make_shared<Repetition>();
  if (auto error = Repetition::parse(words, *repetition)) return error;
  std::vector<Word> expanded;
  for (const Repetition::Values& values : {repetition->firstValues(), repetition->lastValues()}) {
    repetition->expand(values, expanded);
    Command check;
    if (auto error = parseRepeated(*repetition, expanded, values, check)) return error;
  }
  cmd.repetition = std::move(repetition);
  return std::nullopt;
}

std::optional<std::string> forEachRepeated(const Command& repeat, const std::function<bool(const Command&)>& visit) {
  std::optional<std::string> error;
  repeat.repetition->forEach([&](std::span<const Word> words, const Repetition::Values& values) {
    Command command;
    command.file = repeat.file;
    command.line = repeat.line;
    error = parseRepeated(*repeat.repetition, words, values, command);
    return !error && visit(command);
  });
  return error;
}

}  // namespace hubstore::sim
