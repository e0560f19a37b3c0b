#include "tools/sim/verb_table.h"

#include <functional>
#include <map>

#include "tools/sim/simulator.h"

namespace hubstore::sim {

std::span<const VerbSection> verbSections() {
  static const VerbSection sections[] = {
      Simulator::worldVerbs(), Simulator::machineryVerbs(), Simulator::agentVerbs(),
      Simulator::hookVerbs(),  Simulator::fleetVerbs(),     Simulator::toolVerbs(),
  };
  return sections;
}

const Verb* findVerb(std::string_view name) {
  static const std::map<std::string_view, const Verb*, std::less<>> byName = [] {
    std::map<std::string_view, const Verb*, std::less<>> verbs;
    for (const VerbSection& section : verbSections()) {
      for (const Verb& verb : section.verbs) verbs.emplace(verb.name, &verb);
    }
    return verbs;
  }();
  const auto found = byName.find(name);
  return found == byName.end() ? nullptr : found->second;
}

std::string synopsis(const Verb& verb) {
  const Words& words = verb.words;
  if (words.parser) return std::string(words.synopsis);
  std::string out(verb.name);
  for (std::size_t i = 0; i < words.params.size(); ++i) {
    const bool optional = i >= words.required;
    out += optional ? " [" : " ";
    out += words.params[i].name;
    if (words.variadic && i + 1 == words.params.size()) out += " ...";
    if (optional) out += ']';
  }
  return out;
}

}  // namespace hubstore::sim
