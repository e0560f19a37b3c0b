#pragma once
// What the tool says about its verbs, printed from the verb table
// (verb_table.h): the list of `hubstore-sim --help` and of `help`, the entry
// of `help VERB`, and the command reference of docs/scenarios.md
// (`hubstore-sim --reference`, checked by a test).
//
//   if (const Verb* verb = findVerb("groupClosed")) std::cout << commandHelp(*verb);

#include <string>
#include <string_view>

#include "tools/sim/verb_table.h"

namespace hubstore::sim {

// The sections' titles, and under each one line per verb: name, summary.
std::string commandList();

// One verb's entry for a terminal: the synopsis, the paragraph wrapped to fit
// 80 columns, the example.
std::string commandHelp(const Verb& verb);

// The whole reference as Markdown: a heading per section and per verb.
std::string markdownReference();

// `text` broken at blanks into lines of at most `width` characters (a longer
// word stands alone), each line starting with `indent`.
std::string wrapText(std::string_view text, std::size_t width, std::string_view indent);

}  // namespace hubstore::sim
